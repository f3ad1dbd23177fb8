// The caller's rights on Windows: membership of the local Administrators
// group, or of a named group, in the caller's access token.
#include <windows.h>

#include <array>
#include <vector>

#include "rights.h"

namespace vk::os {

namespace {

// Asks the token itself: a group that is present but enabled only for
// denying (an administrator's process that was not elevated) does not count.
bool TokenHas(PSID sid) {
    BOOL member = FALSE;
    return CheckTokenMembership(nullptr, sid, &member) && member;
}

}  // namespace

bool CallerIsAdministrator() {
    std::array<BYTE, SECURITY_MAX_SID_SIZE> sid{};
    DWORD size = sid.size();
    return CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid.data(), &size) &&
           TokenHas(sid.data());
}

bool CallerInGroup(const std::string& group) {
    DWORD sidSize = 0;
    DWORD domainSize = 0;
    SID_NAME_USE use{};
    LookupAccountNameA(nullptr, group.c_str(), nullptr, &sidSize, nullptr, &domainSize, &use);
    if (sidSize == 0) return false;  // no such account
    std::vector<BYTE> sid(sidSize);
    std::vector<char> domain(domainSize + 1);
    if (!LookupAccountNameA(nullptr, group.c_str(), sid.data(), &sidSize, domain.data(),
                            &domainSize, &use))
        return false;
    // Only a group grants rights: a user account of that name is not one.
    if (use != SidTypeGroup && use != SidTypeAlias && use != SidTypeWellKnownGroup) return false;
    return TokenHas(sid.data());
}

const char* AdministratorName() {
    return "Administrators";
}

}  // namespace vk::os
