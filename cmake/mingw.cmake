# Cross-building for Windows x64 with MinGW-w64 (the flavour with POSIX threads, which std::thread needs), testing under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(target x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${target}-gcc-posix)
set(CMAKE_CXX_COMPILER ${target}-g++-posix)
set(CMAKE_RC_COMPILER ${target}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${target})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# The packages of the build machine hold headers and sources that serve here too; find_package finds them through these modules.
list(PREPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR}/mingw)

# The compiler's runtime goes into every program and library: they import system libraries only. Their symbols are left out here,
# because the tool that takes them out later writes the time into the file.
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-static -s -Wl,--no-insert-timestamp")
endforeach()
# Each build folder has a Wine prefix of its own, so that two builds never share a registry.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine-run --prefix ${CMAKE_BINARY_DIR}/wine)
