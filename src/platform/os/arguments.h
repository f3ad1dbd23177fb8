// The program's command line. One source per system.
#ifndef VK_PLATFORM_OS_ARGUMENTS_H
#define VK_PLATFORM_OS_ARGUMENTS_H

#include <string>
#include <vector>

namespace vk::os {

// The program's arguments, its name first, in UTF-8 as every name and value
// the tools handle: on Windows the C runtime hands main them in the
// system's code page, which cannot hold every character a user types.
std::vector<std::string> Arguments(int argc, char** argv);

}  // namespace vk::os

#endif
