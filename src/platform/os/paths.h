// File-system conventions of the system the tools run on. One source per
// system.
#ifndef VK_PLATFORM_OS_PATHS_H
#define VK_PLATFORM_OS_PATHS_H

namespace vk::os {

// The separator between a directory and a name in paths the tools compose
// for users to read: "/", or "\" on Windows.
const char* PathSeparator();

}  // namespace vk::os

#endif
