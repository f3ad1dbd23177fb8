// Locations on Windows: the program's module file, and %ProgramData%\vk for
// the state, logs and host configuration of every user.
#include <windows.h>
// after windows.h
#include <knownfolders.h>
#include <shlobj.h>

#include <cstdlib>
#include <system_error>
#include <vector>

#include "locations.h"
#include "windows_error.h"

namespace vk::os {

namespace fs = std::filesystem;

namespace {

// The machine's data directory: %ProgramData% when it names an absolute
// directory, else where the system keeps it.
fs::path ProgramData() {
    if (const wchar_t* env = _wgetenv(L"ProgramData"); env != nullptr && *env != L'\0') {
        const fs::path dir(env);
        if (dir.is_absolute()) return dir;
    }
    PWSTR known = nullptr;
    fs::path dir;
    if (SHGetKnownFolderPath(FOLDERID_ProgramData, 0, nullptr, &known) == S_OK) dir = known;
    CoTaskMemFree(known);
    return dir;
}

}  // namespace

fs::path ProgramFile(std::string& why) {
    std::vector<wchar_t> name(MAX_PATH);
    for (;;) {
        const DWORD n = GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size()));
        if (n == 0) {
            why = ErrorText(GetLastError());
            return {};
        }
        if (n < name.size()) return fs::path(std::wstring(name.data(), n));
        name.resize(name.size() * 2);
    }
}

std::string ProgramName(const char* argv0) {
    const fs::path file = fs::path(argv0).filename();
    std::string ext = file.extension().string();
    for (char& c : ext) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return ext == ".exe" ? file.stem().string() : file.string();
}

// One estate for the machine, as for a service: the directory's inherited
// rules let every user read it and only its creator and the administrators
// change it.
fs::path StateDirectory(std::string& why) {
    const fs::path data = ProgramData();
    if (data.empty()) {
        why = "the ProgramData directory is not known: set ProgramData";
        return {};
    }
    return data / "vk";
}

fs::path LogDirectory() {
    const fs::path data = ProgramData();
    const fs::path dir = (data.empty() ? fs::path(".") : data) / "vk" / "log";
    std::error_code ec;
    fs::create_directories(dir, ec);
    return dir;
}

fs::path SystemConfigFile() {
    const fs::path data = ProgramData();
    return data.empty() ? fs::path() : data / "vk" / "host.conf";
}

}  // namespace vk::os
