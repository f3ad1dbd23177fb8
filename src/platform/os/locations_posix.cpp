// Locations on POSIX systems: /proc/self/exe, the XDG state directory of a
// user, /var/lib/vk, /var/log/vk and /etc/vk for root and the system.
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <system_error>

#include "locations.h"

namespace vk::os {

namespace fs = std::filesystem;

namespace {

std::string HomeDir() {
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') return home;
    if (const passwd* pw = getpwuid(geteuid()); pw != nullptr && pw->pw_dir != nullptr)
        return pw->pw_dir;
    return "/";
}

}  // namespace

fs::path ProgramFile(std::string& why) {
    std::error_code ec;
    fs::path exe = fs::read_symlink("/proc/self/exe", ec);
    if (ec) why = ec.message();
    return exe;
}

std::string ProgramName(const char* argv0) {
    return fs::path(argv0).filename().string();
}

fs::path StateDirectory(std::string& why) {
    if (geteuid() == 0) return "/var/lib/vk";
    // Only absolute directories count (a relative one would follow the
    // working directory); without one there is no place of the user's own,
    // and a shared directory would hand the state to every other user.
    if (const char* x = std::getenv("XDG_STATE_HOME"); x && fs::path(x).is_absolute())
        return fs::path(x) / "vk";
    if (const char* h = std::getenv("HOME"); h && fs::path(h).is_absolute())
        return fs::path(h) / ".local" / "state" / "vk";
    why = "no state directory of user " + std::to_string(geteuid()) +
          ": set HOME or XDG_STATE_HOME to an absolute directory";
    return {};
}

fs::path LogDirectory() {
    const bool root = geteuid() == 0;
    const char* state = std::getenv("XDG_STATE_HOME");
    const fs::path dir =
        root ? fs::path("/var/log/vk")
             : fs::path(state != nullptr && *state != '\0' ? std::string(state)
                                                           : HomeDir() + "/.local/state") /
                   "vk" / "log";
    std::error_code ec;
    if (fs::create_directories(dir, ec)) {
        fs::permissions(dir, root ? fs::perms(0755) : fs::perms(0700), ec);
    }
    return dir;
}

fs::path SystemConfigFile() {
    return "/etc/vk/host.conf";
}

}  // namespace vk::os
