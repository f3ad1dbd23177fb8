// The system's text for a Windows error code, shared by the Windows sources
// of this library.
#ifndef VK_PLATFORM_OS_WINDOWS_ERROR_H
#define VK_PLATFORM_OS_WINDOWS_ERROR_H

#include <string>

namespace vk::os {

// "Access denied" for ERROR_ACCESS_DENIED: no line end or final period.
std::string ErrorText(unsigned long code);

}  // namespace vk::os

#endif
