// Code modules loaded at run time (shared objects, or DLLs on Windows) and
// the module an address belongs to. One source per system implements it.
#ifndef VK_PLATFORM_OS_MODULE_H
#define VK_PLATFORM_OS_MODULE_H

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace vk::os {

// A loaded module; unloaded when the object goes, unless kept.
class Module {
  public:
    Module() = default;
    // Loads file with all its dependencies resolved now. An empty module on
    // failure, with the system's reason in error.
    static Module Load(const std::filesystem::path& file, std::string& error);
    ~Module();
    Module(Module&& other) noexcept;
    Module& operator=(Module&& other) noexcept;
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    explicit operator bool() const { return handle_ != nullptr; }
    // An exported symbol of the module, or of a module it was linked with;
    // null when neither has it.
    void* Find(const char* name) const;
    // Leaves the module loaded until the process ends (what it handed out
    // may outlive this object); the object becomes empty.
    void Keep() { handle_ = nullptr; }

  private:
    explicit Module(void* handle) : handle_(handle) {}
    void* handle_ = nullptr;
};

// A module as the loader knows it.
struct ModuleIdentity {
    const void* base = nullptr;  // load address
    std::filesystem::path file;  // the file it was loaded from
};

// The program or library that holds address; nullopt when none does.
std::optional<ModuleIdentity> ModuleContaining(const void* address);

// The file name of a loadable module with this base name: "libkvda.so", or
// "kvda.dll" on Windows.
std::string ModuleFileName(std::string_view base);

}  // namespace vk::os

#endif
