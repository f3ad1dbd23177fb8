# The Debian package vk-storage, built by CPack from the build tree:
#   cpack -G DEB   (or: cmake --build --preset default --target package)
# It holds everything the install rules lay out under /usr: the programs,
# the plug-in and platform libraries in lib/vk, the agent, share/vk, the
# manual pages and the bash completion.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vk-storage)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "vk storage tools <vk-storage@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "storage commands of vkreport and vkconfig, with a simulated estate")
set(CPACK_PACKAGE_DESCRIPTION
  "vkreport and vkconfig report on and change a server's storage through the
storage plug-in, which checks every argument against what the addressed
controller, disk, enclosure or battery can do. The data agent kvda answers
from a simulated estate kept in SQLite, so every command works on any
machine.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# The libraries the programs need come from dpkg-shlibdeps; adduser is what
# the maintainer scripts use to create the administrators' group.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS adduser)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS bash-completion)
# The group and the state and log directories are made by the scripts, not
# shipped, so that removing the package leaves the estate and purging takes it.
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_LIST_DIR}/debian/postinst ${CMAKE_CURRENT_LIST_DIR}/debian/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# The build keeps debug information; the package does not.
set(CPACK_STRIP_FILES ON)
include(CPack)
