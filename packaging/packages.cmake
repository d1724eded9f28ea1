# The packages that cpack makes of a finished build: an installer for Windows, a Debian package natively. scripts/release makes both.
set(CPACK_PACKAGE_NAME orvctl)
set(CPACK_PACKAGE_VENDOR "ORV Labs")
set(CPACK_PACKAGE_CONTACT "ORV Labs <orvctl@orv-labs.example>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "control component of an audio-effects stack, and its command line")
set(CPACK_PACKAGE_DESCRIPTION
  "Finds the render endpoints of a machine, their operating modes and controls;
reads and changes the values that the processing object in the audio engine
reads from the registry; pushes them into DSP drivers; shows live peaks and
spectra; detects headsets.
.
This package works on simulated machines: a folder with a registry export, a
description of the devices and a drive. With the command line orvctl and its
page for browsers come the component that both use, the header and the CMake
package for other clients, and sample machines.")
# The notices of the libraries that are compiled in are in these packages of the build machine.
set(ORV_NOTICES libfmt-dev libcli11-dev nlohmann-json3-dev libboost-dev libjs-chart.js libtinyxml2-dev)

if(WIN32)
  set(CPACK_GENERATOR NSIS)
  set(CPACK_PACKAGE_FILE_NAME orvctl-${PROJECT_VERSION}-win64)
  list(PREPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR})  # for NSIS.template.in
  set(CPACK_ORV_PACKAGING ${CMAKE_CURRENT_LIST_DIR})
  set(CPACK_NSIS_COMPRESSOR "/SOLID lzma")
  set(CPACK_NSIS_EXECUTABLE_PRE_ARGUMENTS -WX)
  set(CPACK_PACKAGE_INSTALL_DIRECTORY "ORV APO Controller")
  list(APPEND ORV_NOTICES mingw-w64-x86-64-dev)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_STRIP_FILES ON)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION sound)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SUGGESTS "cmake, g++")
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
  set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/finish_package.cmake)
endif()

configure_file(packaging/finish_stage.cmake.in packaging/finish_stage.cmake @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_BINARY_DIR}/packaging/finish_stage.cmake)
include(CPack)
