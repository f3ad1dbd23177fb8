// Locations, host settings, user rights and the trace directory.
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <system_error>

#include "host.h"

namespace vk::host {

namespace fs = std::filesystem;

namespace {

std::string EnvOr(const char* name, std::string fallback) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? std::string(value) : std::move(fallback);
}

std::string HomeDir() {
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') return home;
    if (const passwd* pw = getpwuid(geteuid()); pw != nullptr && pw->pw_dir != nullptr)
        return pw->pw_dir;
    return "/";
}

std::string_view Trim(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    const auto last = text.find_last_not_of(" \t\r");
    return text.substr(first, last - first + 1);
}

void ReadConfFile(const fs::path& file, HostConfig& config,
                  const std::function<void(const std::string&)>& warn) {
    std::ifstream in(file);
    if (!in) {
        warn("cannot read " + file.string() + "; using the defaults");
        return;
    }
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        const std::string_view text = Trim(line);
        if (text.empty() || text.front() == '#') continue;
        const std::string where = file.string() + ":" + std::to_string(number) + ": ";
        const auto eq = text.find('=');
        if (eq == std::string_view::npos) {
            warn(where + "expected name=value, found '" + std::string(text) + "'");
            continue;
        }
        const std::string_view key = Trim(text.substr(0, eq));
        const std::string_view value = Trim(text.substr(eq + 1));
        if (key != "admin_group") {
            warn(where + "unknown setting '" + std::string(key) + "'");
        } else if (value.empty()) {
            warn(where + "admin_group is empty; keeping '" + config.adminGroup + "'");
        } else {
            config.adminGroup = value;
        }
    }
}

}  // namespace

Locations FindLocations() {
    std::error_code ec;
    const fs::path exe = fs::read_symlink("/proc/self/exe", ec);
    if (ec) throw HostError(kExitFailure, "cannot find the program's own path: " + ec.message());
    const fs::path prefix = exe.parent_path().parent_path();
    Locations where;
    where.plugin = EnvOr("VK_PLUGIN", (prefix / "lib/vk/libkvclp64.so").string());
    where.share = EnvOr("VK_SHARE_DIR", (prefix / "share/vk").string());
    return where;
}

HostConfig LoadHostConfig(const fs::path& share,
                          const std::function<void(const std::string&)>& warn) {
    HostConfig config;
    if (const fs::path defaults = share / "host.conf"; fs::exists(defaults))
        ReadConfFile(defaults, config, warn);
    // An explicit VK_HOST_CONF must exist; the system file is optional.
    if (const char* local = std::getenv("VK_HOST_CONF"); local != nullptr && *local != '\0') {
        ReadConfFile(local, config, warn);
    } else if (fs::exists("/etc/vk/host.conf")) {
        ReadConfFile("/etc/vk/host.conf", config, warn);
    }
    return config;
}

uint32_t HeldRights(const std::string& adminGroup) {
    if (geteuid() == 0) return kAdminRights;
    const group* admin = getgrnam(adminGroup.c_str());
    if (admin == nullptr) return kReadRights;
    if (getegid() == admin->gr_gid) return kAdminRights;
    const int count = getgroups(0, nullptr);
    if (count <= 0) return kReadRights;
    std::vector<gid_t> groups(static_cast<size_t>(count));
    const int got = getgroups(count, groups.data());
    for (int i = 0; i < got; ++i) {
        if (groups[static_cast<size_t>(i)] == admin->gr_gid) return kAdminRights;
    }
    return kReadRights;
}

void EnsureTraceRoot() {
    // The plug-in's trace goes below SystemRoot; left unset it would land in
    // the working directory.
    if (std::getenv("SystemRoot") != nullptr) return;
    const bool root = geteuid() == 0;
    const fs::path dir =
        root ? fs::path("/var/log/vk")
             : fs::path(EnvOr("XDG_STATE_HOME", HomeDir() + "/.local/state")) / "vk" / "log";
    std::error_code ec;
    if (fs::create_directories(dir, ec)) {
        fs::permissions(dir, root ? fs::perms(0755) : fs::perms(0700), ec);
    }
    // Set even when it could not be created: the trace then drops its lines
    // instead of writing them elsewhere.
    setenv("SystemRoot", dir.c_str(), 1);
}

}  // namespace vk::host
