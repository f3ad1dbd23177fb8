# Cross build for 64-bit Windows with Debian's mingw-w64 (the POSIX threads
# variant, which has std::thread and std::mutex) and the static libraries
# that scripts/windows-deps.sh builds from Debian's source packages.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(VK_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${VK_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${VK_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${VK_MINGW_TRIPLE}-windres)

# The script names the cache directory of the pinned set, so the key is
# computed in one place.
execute_process(
  COMMAND ${CMAKE_CURRENT_LIST_DIR}/../scripts/windows-deps.sh --print
  OUTPUT_VARIABLE VK_WINDOWS_DEPS OUTPUT_STRIP_TRAILING_WHITESPACE
  RESULT_VARIABLE vk_deps_rc)
if(NOT vk_deps_rc EQUAL 0 OR NOT EXISTS "${VK_WINDOWS_DEPS}/.complete")
  message(FATAL_ERROR "The Windows build needs libxml2, libxslt and SQLite built for Windows "
    "(${VK_WINDOWS_DEPS}). Run scripts/windows-deps.sh once on this machine.")
endif()

# Headers and libraries come only from mingw-w64 and the dependency set;
# programs run on the build machine.
set(CMAKE_FIND_ROOT_PATH /usr/${VK_MINGW_TRIPLE} ${VK_WINDOWS_DEPS})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${VK_WINDOWS_DEPS}/lib/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")
