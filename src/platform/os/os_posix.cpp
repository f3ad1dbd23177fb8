// The module, console, environment, path, argument and clock interfaces on
// POSIX systems: dlopen, dup2, setenv, gmtime_r.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

#include "arguments.h"
#include "clock.h"
#include "console.h"
#include "environment.h"
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

std::vector<std::string> Arguments(int argc, char** argv) {
    return std::vector<std::string>(argv, argv + argc);
}

bool UtcTime(std::time_t t, std::tm& out) {
    return gmtime_r(&t, &out) != nullptr;
}

}  // namespace vk::os
