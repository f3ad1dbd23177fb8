// The module, console, environment, path, argument and clock interfaces on
// Windows: LoadLibrary, GetProcAddress, the C runtime's descriptors and
// environment, the wide command line.
#include <fcntl.h>
#include <io.h>
#include <windows.h>
// after windows.h
#include <shellapi.h>

#include <cstdlib>
#include <utility>
#include <vector>

#include "arguments.h"
#include "clock.h"
#include "console.h"
#include "environment.h"
#include "module.h"
#include "paths.h"
#include "windows_error.h"

namespace vk::os {

std::string ErrorText(unsigned long code) {
    char* text = nullptr;
    const DWORD n = FormatMessageA(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, code, 0, reinterpret_cast<char*>(&text), 0, nullptr);
    std::string result = n > 0 ? std::string(text, n) : "error " + std::to_string(code);
    LocalFree(text);
    while (!result.empty() && (result.back() == '\n' || result.back() == '\r' ||
                               result.back() == ' ' || result.back() == '.'))
        result.pop_back();
    return result;
}

namespace {

HMODULE AsModule(void* handle) {
    return static_cast<HMODULE>(handle);
}

}  // namespace

Module Module::Load(const std::filesystem::path& file, std::string& error) {
    // With an absolute path and the altered search order, the module's own
    // dependencies are found beside it first, as a run path does elsewhere.
    std::error_code ec;
    std::filesystem::path absolute = std::filesystem::absolute(file, ec);
    if (ec) absolute = file;
    HMODULE handle = LoadLibraryExW(absolute.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (handle == nullptr) error = absolute.string() + ": " + ErrorText(GetLastError());
    return Module(handle);
}

Module::~Module() {
    if (handle_ != nullptr) FreeLibrary(AsModule(handle_));
}

Module::Module(Module&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}

Module& Module::operator=(Module&& other) noexcept {
    if (this != &other) {
        if (handle_ != nullptr) FreeLibrary(AsModule(handle_));
        handle_ = std::exchange(other.handle_, nullptr);
    }
    return *this;
}

void* Module::Find(const char* name) const {
    if (handle_ == nullptr) return nullptr;
    if (FARPROC own = GetProcAddress(AsModule(handle_), name)) return reinterpret_cast<void*>(own);
    // GetProcAddress looks at one module only; the modules this one imports
    // from are already loaded and are asked next, as dlsym does.
    const auto* base = static_cast<const unsigned char*>(handle_);
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& imports =
        nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (imports.VirtualAddress == 0) return nullptr;
    for (const auto* entry =
             reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress);
         entry->Name != 0; ++entry) {
        HMODULE dependency = GetModuleHandleA(reinterpret_cast<const char*>(base + entry->Name));
        if (dependency == nullptr) continue;
        if (FARPROC found = GetProcAddress(dependency, name)) return reinterpret_cast<void*>(found);
    }
    return nullptr;
}

std::optional<ModuleIdentity> ModuleContaining(const void* address) {
    HMODULE module = nullptr;
    if (!GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            static_cast<LPCWSTR>(address), &module))
        return std::nullopt;
    std::vector<wchar_t> name(MAX_PATH);
    for (;;) {
        const DWORD n = GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size()));
        if (n == 0) return std::nullopt;
        if (n < name.size()) return ModuleIdentity{module, std::wstring(name.data(), n)};
        name.resize(name.size() * 2);
    }
}

// The C runtime keeps its own copy of the environment (what getenv reads);
// _putenv_s changes it and the process's, an empty value removing the name.
bool SetEnvironment(const char* name, const char* value) {
    return _putenv_s(name, value) == 0;
}

bool UnsetEnvironment(const char* name) {
    return _putenv_s(name, "") == 0;
}

std::string ModuleFileName(std::string_view base) {
    return std::string(base) + ".dll";
}

const char* PathSeparator() {
    return "\\";
}

void UseBinaryStandardStreams() {
    // Text mode would turn every "\n" into "\r\n"; the tools print the same
    // bytes on every system.
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
}

int RedirectStdout(std::FILE* file) {
    std::fflush(stdout);
    const int out = _fileno(stdout);
    const int saved = _dup(out);
    if (saved < 0) return -1;
    if (_dup2(_fileno(file), out) < 0) {
        _close(saved);
        return -1;
    }
    return saved;
}

void RestoreStdout(int saved) {
    if (saved < 0) return;
    std::fflush(stdout);
    _dup2(saved, _fileno(stdout));
    _close(saved);
}

std::FILE* CreateTemporaryFile() {
    // The C runtime's tmpfile() creates its file in the root of the drive,
    // where users may not write; the user's temporary directory is used,
    // and the file goes when it is closed.
    wchar_t dir[MAX_PATH + 1];
    wchar_t name[MAX_PATH + 1];
    if (GetTempPathW(MAX_PATH + 1, dir) == 0 || GetTempFileNameW(dir, L"vk", 0, name) == 0)
        return nullptr;
    std::FILE* file = _wfopen(name, L"w+bTD");
    if (file == nullptr) DeleteFileW(name);
    return file;
}

std::vector<std::string> Arguments(int argc, char** argv) {
    int count = 0;
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
    if (wide == nullptr) return std::vector<std::string>(argv, argv + argc);
    std::vector<std::string> out;
    for (int i = 0; i < count; ++i) {
        const int n = WideCharToMultiByte(CP_UTF8, 0, wide[i], -1, nullptr, 0, nullptr, nullptr);
        std::string word(n > 0 ? static_cast<size_t>(n - 1) : 0, '\0');
        WideCharToMultiByte(CP_UTF8, 0, wide[i], -1, word.data(), n, nullptr, nullptr);
        out.push_back(std::move(word));
    }
    LocalFree(wide);
    return out;
}

bool UtcTime(std::time_t t, std::tm& out) {
    return gmtime_s(&out, &t) == 0;
}

}  // namespace vk::os
