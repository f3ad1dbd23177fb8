// Standard output and error of the program. One source per system.
#ifndef VK_PLATFORM_OS_CONSOLE_H
#define VK_PLATFORM_OS_CONSOLE_H

#include <cstdio>

namespace vk::os {

// Standard output and error pass bytes through unchanged (no line-end
// translation), so every system prints exactly the same text.
void UseBinaryStandardStreams();

// Points standard output (the descriptor, so code that writes through its
// own runtime is caught too) at file. The previous descriptor, to be given
// to RestoreStdout, or -1 when it could not be done.
int RedirectStdout(std::FILE* file);
void RestoreStdout(int saved);

// A new, empty file open for reading and writing, removed when closed;
// null when none can be made.
std::FILE* CreateTemporaryFile();

}  // namespace vk::os

#endif
