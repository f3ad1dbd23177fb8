// Locations, host settings, user rights and the trace directory.
#include <cstdlib>
#include <sstream>

#include "host.h"
#include "os/environment.h"
#include "os/files.h"
#include "os/locations.h"
#include "os/module.h"
#include "os/rights.h"

namespace vk::host {

namespace fs = std::filesystem;

namespace {

std::string EnvOr(const char* name, std::string fallback) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? std::string(value) : std::move(fallback);
}

std::string_view Trim(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    const auto last = text.find_last_not_of(" \t\r");
    return text.substr(first, last - first + 1);
}

// Host configuration files are a few lines; anything larger is not one.
constexpr std::uint64_t kMaxConfBytes = 64 * 1024;

// Whether a file may decide this caller's rights: the administrator (root,
// or on Windows an elevated member of Administrators) reads any file it
// chooses; anyone else only one that the administrators own and no one else
// may write, or a caller could grant itself rights with a file of its own.
// On Windows that is a file owned by Administrators or the system whose
// access list lets no one else write it, as for files under Program Files.
bool TrustedForCaller(const os::InputFile& file) {
    return os::CallerIsAdministrator() || file.AdministratorsOnly();
}

// Who chose the file that is read.
enum class ConfSource {
    kInstalled,  // beside the program, or /etc/vk: placed by whoever installed
    kShareDir,   // host.conf under VK_SHARE_DIR: defaults only, skipped quietly
    kOverride,   // VK_HOST_CONF: ignored with a warning when not trusted
};

enum class ConfRead { kRead, kUnusable, kUntrusted };

// Reads the text of a configuration file into `text`. The checks are made on
// the open file, so it cannot be swapped for another after them.
ConfRead ReadConfText(const fs::path& file, ConfSource source, std::string& text,
                      const std::function<void(const std::string&)>& warn) {
    os::InputFile in(file);
    if (in.problem() == os::InputFile::Problem::kCannotOpen) {
        warn("cannot read " + file.string() + "; using the defaults");
        return ConfRead::kUnusable;
    }
    if (in.problem() == os::InputFile::Problem::kNotRegular) {
        warn(file.string() + " is not a regular file; using the defaults");
        return ConfRead::kUnusable;
    }
    if (source != ConfSource::kInstalled && !TrustedForCaller(in)) {
        if (source == ConfSource::kOverride) {
            const std::string admin = os::AdministratorName();
            warn("ignoring VK_HOST_CONF=" + file.string() + ": only " + admin +
                 " may choose where rights come from, or the file must be owned by " + admin +
                 " and writable by no one else");
        }
        return ConfRead::kUntrusted;
    }
    if (in.size() > kMaxConfBytes) {
        warn(file.string() + " is larger than " + std::to_string(kMaxConfBytes) +
             " bytes; using the defaults");
        return ConfRead::kUnusable;
    }
    // A read error leaves what was read: the lines before it still count.
    in.Read(text);
    return ConfRead::kRead;
}

ConfRead ReadConfFile(const fs::path& file, ConfSource source, HostConfig& config,
                      const std::function<void(const std::string&)>& warn) {
    std::string text;
    const ConfRead outcome = ReadConfText(file, source, text, warn);
    if (outcome != ConfRead::kRead) return outcome;
    std::istringstream in(text);
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        const std::string_view setting = Trim(line);
        if (setting.empty() || setting.front() == '#') continue;
        const std::string where = file.string() + ":" + std::to_string(number) + ": ";
        const auto eq = setting.find('=');
        if (eq == std::string_view::npos) {
            warn(where + "expected name=value, found '" + std::string(setting) + "'");
            continue;
        }
        const std::string_view key = Trim(setting.substr(0, eq));
        const std::string_view value = Trim(setting.substr(eq + 1));
        if (key != "admin_group") {
            warn(where + "unknown setting '" + std::string(key) + "'");
        } else if (value.empty()) {
            warn(where + "admin_group is empty; keeping '" + config.adminGroup + "'");
        } else {
            config.adminGroup = value;
        }
    }
    return outcome;
}

}  // namespace

Locations FindLocations() {
    std::string why;
    const fs::path exe = os::ProgramFile(why);
    if (exe.empty()) throw HostError(kExitFailure, "cannot find the program's own path: " + why);
    const fs::path prefix = exe.parent_path().parent_path();
    Locations where;
    where.plugin =
        EnvOr("VK_PLUGIN", (prefix / "lib" / "vk" / os::ModuleFileName("kvclp64")).string());
    where.share = EnvOr("VK_SHARE_DIR", (prefix / "share/vk").string());
    return where;
}

HostConfig LoadHostConfig(const fs::path& share,
                          const std::function<void(const std::string&)>& warn) {
    HostConfig config;
    const char* shareDir = std::getenv("VK_SHARE_DIR");
    if (const fs::path defaults = share / "host.conf"; fs::exists(defaults))
        ReadConfFile(defaults,
                     shareDir != nullptr && *shareDir != '\0' ? ConfSource::kShareDir
                                                              : ConfSource::kInstalled,
                     config, warn);
    // An explicit VK_HOST_CONF must exist; when it is ignored as untrusted,
    // the system file (optional) applies as if it had not been set.
    const char* local = std::getenv("VK_HOST_CONF");
    if (local != nullptr && *local != '\0' &&
        ReadConfFile(local, ConfSource::kOverride, config, warn) != ConfRead::kUntrusted)
        return config;
    if (const fs::path system = os::SystemConfigFile(); fs::exists(system))
        ReadConfFile(system, ConfSource::kInstalled, config, warn);
    return config;
}

uint32_t HeldRights(const std::string& adminGroup) {
    return os::CallerIsAdministrator() || os::CallerInGroup(adminGroup) ? kAdminRights
                                                                        : kReadRights;
}

void EnsureTraceRoot() {
    // The plug-in's trace goes below SystemRoot; left unset it would land in
    // the working directory. Windows always sets it.
    if (std::getenv("SystemRoot") != nullptr) return;
    // Set even when it could not be created: the trace then drops its lines
    // instead of writing them elsewhere.
    os::SetEnvironment("SystemRoot", os::LogDirectory().string().c_str());
}

}  // namespace vk::host
