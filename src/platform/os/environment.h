// The process environment. One source per system.
#ifndef VK_PLATFORM_OS_ENVIRONMENT_H
#define VK_PLATFORM_OS_ENVIRONMENT_H

namespace vk::os {

// Sets (replacing) or removes a variable of this process; what getenv
// answers afterwards. False when the system refused. (On Windows an empty
// value removes the variable.)
bool SetEnvironment(const char* name, const char* value);
bool UnsetEnvironment(const char* name);

}  // namespace vk::os

#endif
