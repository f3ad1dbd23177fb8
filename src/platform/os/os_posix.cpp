// The module, console, environment and path interfaces on POSIX systems:
// dlopen, dup2, setenv.
#include <dlfcn.h>
#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <utility>

#include "console.h"
#include "environment.h"
#include "files.h"
#include "module.h"
#include "paths.h"

namespace vk::os {

Module Module::Load(const std::filesystem::path& file, std::string& error) {
    void* handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        const char* why = dlerror();
        error = why != nullptr ? why : "unknown error";
    }
    return Module(handle);
}

Module::~Module() {
    if (handle_ != nullptr) dlclose(handle_);
}

Module::Module(Module&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}

Module& Module::operator=(Module&& other) noexcept {
    if (this != &other) {
        if (handle_ != nullptr) dlclose(handle_);
        handle_ = std::exchange(other.handle_, nullptr);
    }
    return *this;
}

void* Module::Find(const char* name) const {
    // dlsym on a handle searches the module and then its dependencies.
    return handle_ != nullptr ? dlsym(handle_, name) : nullptr;
}

std::optional<ModuleIdentity> ModuleContaining(const void* address) {
    Dl_info info{};
    if (dladdr(address, &info) == 0) return std::nullopt;
    return ModuleIdentity{info.dli_fbase, info.dli_fname != nullptr ? info.dli_fname : ""};
}

bool SetEnvironment(const char* name, const char* value) {
    return setenv(name, value, 1) == 0;
}

bool UnsetEnvironment(const char* name) {
    return unsetenv(name) == 0;
}

std::string ModuleFileName(std::string_view base) {
    return "lib" + std::string(base) + ".so";
}

const char* PathSeparator() {
    return "/";
}

void UseBinaryStandardStreams() {
    // Nothing to do: POSIX streams never translate line ends.
}

int RedirectStdout(std::FILE* file) {
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    if (saved < 0) return -1;
    if (dup2(fileno(file), STDOUT_FILENO) < 0) {
        close(saved);
        return -1;
    }
    return saved;
}

void RestoreStdout(int saved) {
    if (saved < 0) return;
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
}

std::FILE* CreateTemporaryFile() {
    return std::tmpfile();
}

std::FILE* OpenPrivateFile(const char* path, bool append, const char* adminGroup) {
    constexpr mode_t kMode = 0640;
    const int flags = O_WRONLY | O_CLOEXEC | (append ? O_APPEND : O_TRUNC);
    int fd = open(path, flags | O_CREAT | O_EXCL, kMode);
    if (fd >= 0) {
        // Best effort: the umask may have taken bits away, and a user outside
        // the group cannot give the file to it.
        const bool moded = fchmod(fd, kMode) == 0;
        const group* admins = adminGroup != nullptr ? getgrnam(adminGroup) : nullptr;
        if (moded && admins != nullptr && fchown(fd, static_cast<uid_t>(-1), admins->gr_gid) != 0) {
            // the file keeps its creator's group
        }
    } else if (errno == EEXIST) {
        fd = open(path, flags);
    }
    if (fd < 0) return nullptr;
    std::FILE* f = fdopen(fd, append ? "a" : "w");
    if (f == nullptr) close(fd);
    return f;
}

}  // namespace vk::os
