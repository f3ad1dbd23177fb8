// Who the caller is, as far as the tools' rights go. One source per system.
#ifndef VK_PLATFORM_OS_RIGHTS_H
#define VK_PLATFORM_OS_RIGHTS_H

#include <string>

namespace vk::os {

// Whether the caller is the system's administrator: root, or on Windows a
// member of the local Administrators group in an elevated process.
bool CallerIsAdministrator();

// Whether the caller is a member of the named group. False when the system
// knows no such group.
bool CallerInGroup(const std::string& group);

// The system's administrator as users know it: "root", or "Administrators".
const char* AdministratorName();

}  // namespace vk::os

#endif
