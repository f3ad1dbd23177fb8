// Private files, checked reads and link-proof writes on POSIX systems: the
// checks are made on open descriptors (fstat, openat with O_NOFOLLOW).
#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "files.h"

namespace vk::os {

namespace fs = std::filesystem;

namespace {

constexpr mode_t kPrivateMode = 0640;

std::string LastError() {
    return std::generic_category().message(errno);
}

// Best effort: the umask may have taken bits away, and a user outside the
// group cannot give the file to it; the file then keeps its creator's group,
// still not readable by others.
void GiveToGroup(int fd, const char* adminGroup) {
    if (fchmod(fd, kPrivateMode) != 0 || adminGroup == nullptr) return;
    group g{};
    group* found = nullptr;
    std::array<char, 4096> buf{};
    if (getgrnam_r(adminGroup, &g, buf.data(), buf.size(), &found) != 0 || found == nullptr) return;
    if (fchown(fd, static_cast<uid_t>(-1), found->gr_gid) != 0) {
        // see above
    }
}

class Fd {
  public:
    explicit Fd(int fd) : fd_(fd) {}
    ~Fd() {
        if (fd_ >= 0) close(fd_);
    }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
    int get() const { return fd_; }
    int release() { return std::exchange(fd_, -1); }

  private:
    int fd_;
};

}  // namespace

std::FILE* OpenPrivateFile(const char* path, bool append, const char* adminGroup) {
    const int flags = O_WRONLY | O_CLOEXEC | (append ? O_APPEND : O_TRUNC);
    int fd = open(path, flags | O_CREAT | O_EXCL, kPrivateMode);
    if (fd >= 0) {
        GiveToGroup(fd, adminGroup);
    } else if (errno == EEXIST) {
        fd = open(path, flags);
    }
    if (fd < 0) return nullptr;
    std::FILE* f = fdopen(fd, append ? "a" : "w");
    if (f == nullptr) close(fd);
    return f;
}

Created CreatePrivateFile(const fs::path& path, const char* adminGroup, std::string& why) {
    const Fd fd(
        open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, kPrivateMode));
    if (fd.get() < 0) {
        if (errno == EEXIST) return Created::kExists;
        why = LastError();
        return Created::kFailed;
    }
    GiveToGroup(fd.get(), adminGroup);
    return Created::kNew;
}

bool MayWrite(const fs::path& path) {
    return access(path.c_str(), W_OK) == 0;
}

InputFile::InputFile(const fs::path& path) {
    // Non-blocking, so that opening a FIFO does not wait for its writer.
    const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        problem_ = Problem::kCannotOpen;
        error_ = LastError();
        return;
    }
    handle_ = fd;
    struct stat st {};
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        problem_ = Problem::kNotRegular;
        return;
    }
    size_ = static_cast<std::uint64_t>(st.st_size);
}

InputFile::~InputFile() {
    if (handle_ >= 0) close(static_cast<int>(handle_));
}

bool InputFile::AdministratorsOnly() const {
    struct stat st {};
    return handle_ >= 0 && fstat(static_cast<int>(handle_), &st) == 0 && st.st_uid == 0 &&
           (st.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool InputFile::Read(std::string& text) {
    text.assign(static_cast<size_t>(size_), '\0');
    size_t got = 0;
    while (got < text.size()) {
        const ssize_t n = read(static_cast<int>(handle_), text.data() + got, text.size() - got);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            error_ = LastError();
            text.resize(got);
            return false;
        }
        if (n == 0) break;  // it shrank while being read
        got += static_cast<size_t>(n);
    }
    text.resize(got);
    return true;
}

std::string WriteLogFile(const fs::path& dir, std::string_view subdir, const std::string& name,
                         const std::string& text) {
    const std::string sub(subdir);
    const Fd base(open(dir.empty() ? "." : dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (base.get() < 0) return "cannot open the directory " + dir.string() + ": " + LastError();
    if (mkdirat(base.get(), sub.c_str(), 0750) != 0 && errno != EEXIST)
        return "cannot create the " + sub + " directory: " + LastError();
    const Fd logs(openat(base.get(), sub.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (logs.get() < 0)
        return errno == ELOOP || errno == ENOTDIR
                   ? sub +
                         " is a symbolic link or not a directory; logs are written only to a "
                         "real directory"
                   : "cannot open the " + sub + " directory: " + LastError();
    constexpr int kWrite = O_WRONLY | O_NOFOLLOW | O_CLOEXEC;
    const std::string notOwn =
        "it is not a regular file with a single link; logs are written only to their own files";
    int fd = openat(logs.get(), name.c_str(), kWrite | O_CREAT | O_EXCL, kPrivateMode);
    const bool existed = fd < 0 && errno == EEXIST;
    // Non-blocking, so that a FIFO is refused (ENXIO) instead of waited on.
    if (existed) fd = openat(logs.get(), name.c_str(), kWrite | O_NONBLOCK);
    if (fd < 0)
        return errno == ELOOP ? "it is a symbolic link; logs are never written through links"
               : errno == ENXIO || errno == EISDIR ? notOwn
                                                   : LastError();
    Fd file(fd);
    if (existed) {
        struct stat st {};
        if (fstat(file.get(), &st) != 0 || !S_ISREG(st.st_mode) || st.st_nlink != 1) return notOwn;
        if (ftruncate(file.get(), 0) != 0) return LastError();
    }
    for (size_t done = 0; done < text.size();) {
        const ssize_t n = write(file.get(), text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return LastError();
        done += static_cast<size_t>(n);
    }
    if (close(file.release()) != 0) return LastError();
    return {};
}

}  // namespace vk::os
