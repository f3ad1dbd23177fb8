// Locations, host settings, user rights and the trace directory.
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <sstream>
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

// Host configuration files are a few lines; anything larger is not one.
constexpr off_t kMaxConfBytes = 64 * 1024;

// Whether a file may decide this caller's rights: root reads any file it
// chooses; anyone else only one that root owns and no one else may write,
// or a caller could grant itself rights with a file of its own.
bool TrustedForCaller(const struct stat& st) {
    return geteuid() == 0 || (st.st_uid == 0 && (st.st_mode & (S_IWGRP | S_IWOTH)) == 0);
}

// Who chose the file that is read.
enum class ConfSource {
    kInstalled,  // beside the program, or /etc/vk: placed by whoever installed
    kShareDir,   // host.conf under VK_SHARE_DIR: defaults only, skipped quietly
    kOverride,   // VK_HOST_CONF: ignored with a warning when not trusted
};

enum class ConfRead { kRead, kUnusable, kUntrusted };

class FileDescriptor {
  public:
    explicit FileDescriptor(int fd) : fd_(fd) {}
    ~FileDescriptor() {
        if (fd_ >= 0) close(fd_);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return fd_; }

  private:
    int fd_;
};

// Reads the text of a configuration file into `text`. The checks are made on
// the open file, so it cannot be swapped for another after them.
ConfRead ReadConfText(const fs::path& file, ConfSource source, std::string& text,
                      const std::function<void(const std::string&)>& warn) {
    // Non-blocking, so that a FIFO is refused instead of waited on.
    const FileDescriptor fd(open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat st {};
    if (fd.get() < 0) {
        warn("cannot read " + file.string() + "; using the defaults");
        return ConfRead::kUnusable;
    }
    if (fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode)) {
        warn(file.string() + " is not a regular file; using the defaults");
        return ConfRead::kUnusable;
    }
    if (source != ConfSource::kInstalled && !TrustedForCaller(st)) {
        if (source == ConfSource::kOverride)
            warn("ignoring VK_HOST_CONF=" + file.string() +
                 ": only root may choose where rights come from, or the file must be owned by "
                 "root and writable by no one else");
        return ConfRead::kUntrusted;
    }
    if (st.st_size > kMaxConfBytes) {
        warn(file.string() + " is larger than " + std::to_string(kMaxConfBytes) +
             " bytes; using the defaults");
        return ConfRead::kUnusable;
    }
    text.assign(static_cast<size_t>(st.st_size), '\0');
    size_t got = 0;
    while (got < text.size()) {
        const ssize_t n = read(fd.get(), text.data() + got, text.size() - got);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        got += static_cast<size_t>(n);
    }
    text.resize(got);
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
    if (fs::exists("/etc/vk/host.conf"))
        ReadConfFile("/etc/vk/host.conf", ConfSource::kInstalled, config, warn);
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
