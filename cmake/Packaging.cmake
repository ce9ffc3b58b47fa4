# The Debian package: `cpack --preset package` (or `cpack` in any build folder)
# makes dotwise_<version>_<arch>.deb from the install rules. Installed under
# /usr; the desktop, icon and MIME caches are refreshed by the dpkg triggers
# of desktop-file-utils, hicolor-icon-theme and shared-mime-info.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME dotwise)
set(CPACK_PACKAGE_VENDOR Wrenfield)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "open-task counts as badges on plain-text task lists")
set(CPACK_PACKAGE_DESCRIPTION
    "Dotwise counts the open tasks in plain-text task lists (todo.txt, TaskPaper and\n\
square-bracket lists) and shows the count as a red badge on each file's icon in\n\
the file manager and in a tray menu. It never changes the task lists.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Wrenfield <${DOTWISE_SUPPORT_ADDRESS}>")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "http://${DOTWISE_WEB_HOST}/")
# Library dependencies are worked out from the binary; these are what it loads
# at run time without linking: the SVG image plugin, the MIME database and the
# hicolor theme its icon goes into. gvfs keeps the badges (file metadata).
# The SVG plugins came with libqt6svg6 up to Debian 12 and have their own
# package (qt6-svg-plugins) since Debian 13: dpkg says which one has them here.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(dotwise_svg_plugin_package libqt6svg6)
execute_process(COMMAND dpkg-query --search "*/qt6/plugins/imageformats/libqsvg.so"
                OUTPUT_VARIABLE dotwise_svg_plugin_owner ERROR_QUIET)
if(dotwise_svg_plugin_owner MATCHES "^([^:, ]+)")
  set(dotwise_svg_plugin_package ${CMAKE_MATCH_1})
endif()
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "${dotwise_svg_plugin_package}, shared-mime-info, hicolor-icon-theme")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "gvfs, dbus-user-session")
set(CPACK_STRIP_FILES ON)
include(CPack)
