// Files the tools create for themselves. One source per system.
#ifndef VK_PLATFORM_OS_FILES_H
#define VK_PLATFORM_OS_FILES_H

#include <cstdio>

namespace vk::os {

// Opens path for writing: appending, or truncating it. A file that is not
// there yet is created readable by its owner and the administrators' group
// (named adminGroup where the system has such groups) only, because logs
// show command lines and the estate's identifiers. Null when it cannot be
// opened.
std::FILE* OpenPrivateFile(const char* path, bool append, const char* adminGroup);

}  // namespace vk::os

#endif
