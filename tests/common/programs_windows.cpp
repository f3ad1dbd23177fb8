// Runs a program with CreateProcess, its standard output through a pipe and
// its standard error through a file, so that neither can fill up while the
// other is read.
#include <windows.h>

#include <array>

#include "programs.h"

namespace vktest {

namespace {

std::wstring Wide(const std::string& text) {
    if (text.empty()) return {};
    const int n =
        MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring out(static_cast<size_t>(n), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out.data(), n);
    return out;
}

// One word of a command line as the C runtime splits it again: quoted when
// it holds a blank or a quote, with the backslashes before a quote doubled.
std::wstring Quoted(const std::wstring& word) {
    if (!word.empty() && word.find_first_of(L" \t\"") == std::wstring::npos) return word;
    std::wstring out = L"\"";
    size_t backslashes = 0;
    for (wchar_t c : word) {
        if (c == L'\\') {
            ++backslashes;
            continue;
        }
        out.append(c == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
        backslashes = 0;
        out += c;
    }
    out.append(backslashes * 2, L'\\');
    return out + L"\"";
}

// The changed environment, as CreateProcess takes it: names in any case
// are one, sorted, each
// "NAME=value" ended by a null, the whole ended by another.
std::wstring EnvironmentBlock(const Environment& changes) {
    struct IgnoringCase {
        bool operator()(const std::wstring& a, const std::wstring& b) const {
            return _wcsicmp(a.c_str(), b.c_str()) < 0;
        }
    };
    std::map<std::wstring, std::wstring, IgnoringCase> vars;
    if (wchar_t* block = GetEnvironmentStringsW()) {
        for (const wchar_t* entry = block; *entry != L'\0'; entry += wcslen(entry) + 1) {
            const std::wstring text(entry);
            const size_t eq = text.find(L'=', 1);  // "=C:" entries name drives
            if (eq != std::wstring::npos) vars[text.substr(0, eq)] = text.substr(eq + 1);
        }
        FreeEnvironmentStringsW(block);
    }
    for (const auto& [name, value] : changes) {
        if (value)
            vars[Wide(name)] = Wide(*value);
        else
            vars.erase(Wide(name));
    }
    std::wstring block;
    for (const auto& [name, value] : vars) block += name + L"=" + value + L'\0';
    return block + L'\0';
}

}  // namespace

bool CommandLineCarries(const std::string& word) {
    return word.find('\0') == std::string::npos &&
           MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, word.data(),
                               static_cast<int>(word.size()), nullptr, 0) > 0;
}

bool ChildrenKeepSystemRoot() {
    // Wine's own ntdll exports its version; Windows' does not.
    HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    return ntdll == nullptr || GetProcAddress(ntdll, "wine_get_version") == nullptr;
}

Result RunProgram(const std::filesystem::path& bin, const std::vector<std::string>& argv,
                  const Environment& env) {
    Result result;
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    HANDLE readOut = nullptr;
    HANDLE writeOut = nullptr;
    if (!CreatePipe(&readOut, &writeOut, &inherit, 0)) return result;
    SetHandleInformation(readOut, HANDLE_FLAG_INHERIT, 0);
    const std::filesystem::path errName = MakeTempDir("vk-run-") / "stderr";
    HANDLE errFile = CreateFileW(errName.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit,
                                 CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    HANDLE nul = CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                             OPEN_EXISTING, 0, nullptr);

    std::filesystem::path program = bin / argv[0];
    if (!program.has_extension()) program += ".exe";
    std::wstring line;
    for (const std::string& word : argv) line += (line.empty() ? L"" : L" ") + Quoted(Wide(word));
    std::wstring block = EnvironmentBlock(env);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = nul;
    startup.hStdOutput = writeOut;
    startup.hStdError = errFile;
    PROCESS_INFORMATION process{};
    const bool started =
        CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE,
                       CREATE_UNICODE_ENVIRONMENT, block.data(), nullptr, &startup, &process);
    CloseHandle(writeOut);
    CloseHandle(errFile);
    CloseHandle(nul);
    if (started) {
        std::array<char, 8192> buffer{};
        DWORD n = 0;
        while (::ReadFile(readOut, buffer.data(), buffer.size(), &n, nullptr) && n > 0)
            result.out.append(buffer.data(), n);
        WaitForSingleObject(process.hProcess, INFINITE);
        DWORD code = 0;
        if (GetExitCodeProcess(process.hProcess, &code)) result.exitCode = static_cast<int>(code);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    } else {
        result.err = "cannot start " + program.string();
    }
    CloseHandle(readOut);
    if (started) result.err = ReadFile(errName);
    std::error_code ignored;
    std::filesystem::remove_all(errName.parent_path(), ignored);
    return result;
}

}  // namespace vktest
