# Built from the sources that the package libgtest-dev (googletest) brings.
if(NOT TARGET GTest::gtest)
  find_path(ORV_GOOGLETEST_SOURCE NAMES googlemock/CMakeLists.txt PATHS /usr/src/googletest NO_DEFAULT_PATH
    NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  set(INSTALL_GTEST OFF)
  add_subdirectory(${ORV_GOOGLETEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endif()
