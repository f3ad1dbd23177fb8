# Windows build settings, included by the top-level CMakeLists.txt after the
# dependencies are found.

# DLLs keep the names the tools know them by (kvclp64.dll, kvda.dll), without
# the "lib" of shared objects.
set(CMAKE_SHARED_LIBRARY_PREFIX "")
set(CMAKE_SHARED_MODULE_PREFIX "")

# Every program and DLL carries its own C++ runtime and the dependencies
# (all built as static libraries), so the tree runs without mingw-w64 DLLs
# beside it. Modules share only C interfaces, so each having its own copy is
# safe. Release builds drop the symbol tables (the export tables stay).
add_link_options(-static $<$<CONFIG:Release>:-s>)
# libxml2's package says LIBXML_STATIC itself; libxslt's headers must be
# told not to expect DLLs.
set_property(TARGET PkgConfig::LIBXSLT APPEND PROPERTY
  INTERFACE_COMPILE_DEFINITIONS LIBXSLT_STATIC LIBEXSLT_STATIC)
# libcrypto is a static library too (FindOpenSSL then adds the system
# libraries it needs).
set(OPENSSL_USE_STATIC_LIBS TRUE)
# A static library also needs what the package lists as private libraries.
foreach(dep LIBXML2 LIBXSLT SQLITE3)
  foreach(lib IN LISTS ${dep}_STATIC_LIBRARIES)
    if(NOT lib IN_LIST ${dep}_LIBRARIES)
      set_property(TARGET PkgConfig::${dep} APPEND PROPERTY INTERFACE_LINK_LIBRARIES ${lib})
    endif()
  endforeach()
endforeach()

# Tests run the programs under Wine. Its prefix is made now, once per
# machine: CTest asks each test program for its tests with a short time-out.
set(CMAKE_CROSSCOMPILING_EMULATOR ${PROJECT_SOURCE_DIR}/cmake/wine-run.sh)
if(VK_BUILD_TESTS)
  execute_process(COMMAND ${CMAKE_CROSSCOMPILING_EMULATOR} --prepare RESULT_VARIABLE vk_wine_rc)
  if(NOT vk_wine_rc EQUAL 0)
    message(FATAL_ERROR "Wine could not make its prefix; is the [windows] group of "
      "scripts/install-deps.sh installed?")
  endif()
endif()

# A zip of the installed tree: cmake --build --preset windows --target package
set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME vk)
set(CPACK_PACKAGE_FILE_NAME vk-${PROJECT_VERSION}-win64)
include(CPack)
