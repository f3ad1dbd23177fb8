// Where the tools find themselves and keep their files on this system. One
// source per system.
#ifndef VK_PLATFORM_OS_LOCATIONS_H
#define VK_PLATFORM_OS_LOCATIONS_H

#include <filesystem>
#include <string>

namespace vk::os {

// The running program's file, absolute. Empty, with the system's reason in
// why, when the system cannot tell.
std::filesystem::path ProgramFile(std::string& why);

// The name a program was started as (its first argument), without its
// directory or, on Windows, its ".exe".
std::string ProgramName(const char* argv0);

// The directory of this user's state (the simulated estate): /var/lib/vk for
// root, else $XDG_STATE_HOME/vk or ~/.local/state/vk; %ProgramData%\vk on
// Windows. Empty, with the reason in why, when the user has no directory of
// their own.
std::filesystem::path StateDirectory(std::string& why);

// The directory of the tools' logs, created when missing: /var/log/vk for
// root, else the user's state directory's log; %ProgramData%\vk\log on
// Windows.
std::filesystem::path LogDirectory();

// The host configuration that applies to the whole system:
// /etc/vk/host.conf, or %ProgramData%\vk\host.conf on Windows.
std::filesystem::path SystemConfigFile();

}  // namespace vk::os

#endif
