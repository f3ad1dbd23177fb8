// Files the tools create, read and write for themselves. One source per
// system.
#ifndef VK_PLATFORM_OS_FILES_H
#define VK_PLATFORM_OS_FILES_H

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

namespace vk::os {

// Opens path for writing: appending, or truncating it. A file that is not
// there yet is created readable by its owner and the administrators' group
// (named adminGroup where the system has such groups) only, because logs
// show command lines and the estate's identifiers. Null when it cannot be
// opened.
std::FILE* OpenPrivateFile(const char* path, bool append, const char* adminGroup);

// Creates path as a new, empty file with the same restricted access, never
// through a link. kExists when something is there already; kFailed with the
// system's reason in why.
enum class Created { kNew, kExists, kFailed };
Created CreatePrivateFile(const std::filesystem::path& path, const char* adminGroup,
                          std::string& why);

// Whether this process may write the existing file path.
bool MayWrite(const std::filesystem::path& path);

// A regular file opened for reading. Every check is made on the open file,
// so that it cannot be swapped for another after them; a FIFO or a device is
// refused without waiting for a writer.
class InputFile {
  public:
    enum class Problem { kNone, kCannotOpen, kNotRegular };
    explicit InputFile(const std::filesystem::path& path);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    Problem problem() const { return problem_; }
    // The system's reason when the file could not be opened or read.
    const std::string& error() const { return error_; }
    std::uint64_t size() const { return size_; }
    // Whether only the system's administrators can have written it: owned by
    // root and writable by no one else; on Windows owned by the
    // Administrators group or the system, and writable by those only.
    bool AdministratorsOnly() const;
    // The whole text (less when the file shrank meanwhile); false with
    // error() set, and text holding what was read, when reading failed.
    bool Read(std::string& text);

  private:
    Problem problem_ = Problem::kNone;
    std::string error_;
    std::uint64_t size_ = 0;
    std::intptr_t handle_ = -1;  // a descriptor, or a HANDLE on Windows
};

// Writes text to dir/subdir/name, creating subdir and the file (for their
// owner and group only) when missing, and returns why it could not (empty
// when it did). Nothing is followed: subdir must be a real directory, and
// the file a new one or a regular file with a single link, so that a planted
// link never makes the tools write elsewhere. An existing file is replaced.
std::string WriteLogFile(const std::filesystem::path& dir, std::string_view subdir,
                         const std::string& name, const std::string& text);

}  // namespace vk::os

#endif
