include(${CMAKE_CURRENT_LIST_DIR}/build_machine_headers.cmake)
build_machine_headers(fmt::fmt-header-only fmt)
