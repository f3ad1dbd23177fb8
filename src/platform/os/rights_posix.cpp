// The caller's rights on POSIX systems: root, and the caller's groups.
#include <grp.h>
#include <unistd.h>

#include <vector>

#include "rights.h"

namespace vk::os {

bool CallerIsAdministrator() {
    return geteuid() == 0;
}

bool CallerInGroup(const std::string& name) {
    const group* wanted = getgrnam(name.c_str());
    if (wanted == nullptr) return false;
    if (getegid() == wanted->gr_gid) return true;
    const int count = getgroups(0, nullptr);
    if (count <= 0) return false;
    std::vector<gid_t> groups(static_cast<size_t>(count));
    const int got = getgroups(count, groups.data());
    for (int i = 0; i < got; ++i) {
        if (groups[static_cast<size_t>(i)] == wanted->gr_gid) return true;
    }
    return false;
}

const char* AdministratorName() {
    return "root";
}

}  // namespace vk::os
