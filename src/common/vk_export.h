/* Marks the functions a shared library exports. A library's header picks
 * VK_DLL_EXPORT where the library itself is built (CMake defines
 * <target>_EXPORTS there) and VK_DLL_IMPORT everywhere else: on Windows only
 * marked functions leave a DLL, and callers that know a function is
 * imported call it (and take its address) directly rather than through a
 * stub of their own. On POSIX both mean default visibility. */
#ifndef VK_COMMON_VK_EXPORT_H
#define VK_COMMON_VK_EXPORT_H

#ifdef _WIN32
#define VK_DLL_EXPORT __declspec(dllexport)
#define VK_DLL_IMPORT __declspec(dllimport)
#else
#define VK_DLL_EXPORT __attribute__((visibility("default")))
#define VK_DLL_IMPORT __attribute__((visibility("default")))
#endif

#endif
