// Calendar time. One source per system.
#ifndef VK_PLATFORM_OS_CLOCK_H
#define VK_PLATFORM_OS_CLOCK_H

#include <ctime>

namespace vk::os {

// The UTC calendar time of t in out; false when the system cannot express
// it.
bool UtcTime(std::time_t t, std::tm& out);

}  // namespace vk::os

#endif
