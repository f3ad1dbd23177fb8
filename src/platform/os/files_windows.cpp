// Private files, checked reads and link-proof writes on Windows: the checks
// are made on open handles, and reparse points (symbolic links, junctions)
// are opened as themselves, never followed.
#include <windows.h>
// after windows.h
#include <aclapi.h>

#include <algorithm>
#include <array>
#include <utility>

#include "files.h"
#include "windows_error.h"

namespace vk::os {

namespace fs = std::filesystem;

namespace {

class Handle {
  public:
    explicit Handle(HANDLE h) : h_(h) {}
    ~Handle() {
        if (*this) CloseHandle(h_);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    explicit operator bool() const { return h_ != INVALID_HANDLE_VALUE && h_ != nullptr; }
    HANDLE get() const { return h_; }

  private:
    HANDLE h_;
};

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

HANDLE AsHandle(std::intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

std::string LastError() {
    return ErrorText(GetLastError());
}

// What is there, as itself: a link is not followed.
bool Describe(HANDLE h, BY_HANDLE_FILE_INFORMATION& info) {
    return GetFileInformationByHandle(h, &info) != 0;
}

bool IsLink(const BY_HANDLE_FILE_INFORMATION& info) {
    return (info.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// The well-known accounts that administer the system.
bool IsAdministrators(PSID sid) {
    for (WELL_KNOWN_SID_TYPE type : {WinBuiltinAdministratorsSid, WinLocalSystemSid}) {
        std::array<BYTE, SECURITY_MAX_SID_SIZE> buffer{};
        DWORD size = buffer.size();
        if (CreateWellKnownSid(type, nullptr, buffer.data(), &size) && EqualSid(sid, buffer.data()))
            return true;
    }
    return false;
}

}  // namespace

// Files under %ProgramData%\vk inherit its access rules, which let ordinary
// users read but not change what another user created; text mode gives the
// system's own line ends.
std::FILE* OpenPrivateFile(const char* path, bool append, const char* /*adminGroup*/) {
    return std::fopen(path, append ? "a" : "w");
}

Created CreatePrivateFile(const fs::path& path, const char* /*adminGroup*/, std::string& why) {
    // The access rules come from the directory, as for OpenPrivateFile.
    const Handle h(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, kShareAll, nullptr,
                               CREATE_NEW, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT,
                               nullptr));
    if (h) return Created::kNew;
    const DWORD code = GetLastError();
    if (code == ERROR_FILE_EXISTS || code == ERROR_ALREADY_EXISTS) return Created::kExists;
    why = ErrorText(code);
    return Created::kFailed;
}

bool MayWrite(const fs::path& path) {
    const Handle h(CreateFileW(path.c_str(), GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING,
                               FILE_ATTRIBUTE_NORMAL, nullptr));
    // A file another process holds without sharing may still be writable;
    // the database finds out when it writes.
    return h || GetLastError() == ERROR_SHARING_VIOLATION;
}

InputFile::InputFile(const fs::path& path) {
    HANDLE h = CreateFileW(path.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) {
        const DWORD code = GetLastError();
        const DWORD attributes = GetFileAttributesW(path.c_str());
        // A directory cannot be opened this way at all; it is no file to read.
        if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY)) {
            problem_ = Problem::kNotRegular;
        } else {
            problem_ = Problem::kCannotOpen;
            error_ = ErrorText(code);
        }
        return;
    }
    handle_ = reinterpret_cast<std::intptr_t>(h);
    BY_HANDLE_FILE_INFORMATION info{};
    // Pipes and devices (CON, NUL, COM1) are not disk files.
    if (GetFileType(h) != FILE_TYPE_DISK || !Describe(h, info) ||
        (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) {
        problem_ = Problem::kNotRegular;
        return;
    }
    size_ = (static_cast<std::uint64_t>(info.nFileSizeHigh) << 32) | info.nFileSizeLow;
}

InputFile::~InputFile() {
    if (handle_ != -1) CloseHandle(AsHandle(handle_));
}

// Owned by the Administrators group or the system, and no one else is
// allowed to write it or to change who may.
bool InputFile::AdministratorsOnly() const {
    if (handle_ == -1) return false;
    PSID owner = nullptr;
    PACL dacl = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (GetSecurityInfo(AsHandle(handle_), SE_FILE_OBJECT,
                        OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner, nullptr,
                        &dacl, nullptr, &descriptor) != ERROR_SUCCESS)
        return false;
    constexpr ACCESS_MASK kChanges =
        FILE_WRITE_DATA | FILE_APPEND_DATA | WRITE_DAC | WRITE_OWNER | GENERIC_WRITE | GENERIC_ALL;
    // No access list at all lets everyone do everything.
    bool trusted = owner != nullptr && IsAdministrators(owner) && dacl != nullptr;
    for (DWORD i = 0; trusted && i < dacl->AceCount; ++i) {
        void* entry = nullptr;
        if (!GetAce(dacl, i, &entry)) {
            trusted = false;
            break;
        }
        const auto* header = static_cast<const ACE_HEADER*>(entry);
        if (header->AceType != ACCESS_ALLOWED_ACE_TYPE || (header->AceFlags & INHERIT_ONLY_ACE))
            continue;
        auto* allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
        if ((allowed->Mask & kChanges) != 0 && !IsAdministrators(&allowed->SidStart))
            trusted = false;
    }
    LocalFree(descriptor);
    return trusted;
}

bool InputFile::Read(std::string& text) {
    text.assign(static_cast<size_t>(size_), '\0');
    size_t got = 0;
    while (got < text.size()) {
        DWORD n = 0;
        const DWORD want = static_cast<DWORD>(std::min<size_t>(text.size() - got, 1u << 30));
        if (!ReadFile(AsHandle(handle_), text.data() + got, want, &n, nullptr)) {
            error_ = LastError();
            text.resize(got);
            return false;
        }
        if (n == 0) break;  // it shrank while being read
        got += n;
    }
    text.resize(got);
    return true;
}

std::string WriteLogFile(const fs::path& dir, std::string_view subdir, const std::string& name,
                         const std::string& text) {
    const std::string sub(subdir);
    const fs::path base = dir.empty() ? fs::path(".") : dir;
    const DWORD attributes = GetFileAttributesW(base.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return "cannot open the directory " + dir.string() + ": " + LastError();
    if (!(attributes & FILE_ATTRIBUTE_DIRECTORY))
        return "cannot open the directory " + dir.string() + ": it is not a directory";
    const fs::path logsPath = base / sub;
    if (!CreateDirectoryW(logsPath.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
        return "cannot create the " + sub + " directory: " + LastError();
    // Held open without sharing deletion, so it cannot be swapped for a link
    // while the log is written.
    const Handle logs(CreateFileW(
        logsPath.c_str(), FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (!logs) return "cannot open the " + sub + " directory: " + LastError();
    BY_HANDLE_FILE_INFORMATION info{};
    if (!Describe(logs.get(), info) || IsLink(info) ||
        !(info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
        return sub +
               " is a symbolic link or not a directory; logs are written only to a real "
               "directory";
    const std::string notOwn =
        "it is not a regular file with a single link; logs are written only to their own files";
    const fs::path path = logsPath / name;
    constexpr DWORD kFlags = FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT;
    HANDLE h = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW,
                           kFlags, nullptr);
    const bool existed = h == INVALID_HANDLE_VALUE && GetLastError() == ERROR_FILE_EXISTS;
    if (existed)
        h = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                        kFlags, nullptr);
    if (h == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_ACCESS_DENIED && existed ? notOwn : LastError();
    const Handle file(h);
    if (existed) {
        if (!Describe(file.get(), info)) return LastError();
        if (IsLink(info)) return "it is a symbolic link; logs are never written through links";
        if (GetFileType(file.get()) != FILE_TYPE_DISK ||
            (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) || info.nNumberOfLinks != 1)
            return notOwn;
        if (!SetEndOfFile(file.get())) return LastError();
    }
    for (size_t done = 0; done < text.size();) {
        DWORD n = 0;
        const DWORD want = static_cast<DWORD>(std::min<size_t>(text.size() - done, 1u << 30));
        if (!WriteFile(file.get(), text.data() + done, want, &n, nullptr) || n == 0)
            return LastError();
        done += n;
    }
    return {};
}

}  // namespace vk::os
