include(${CMAKE_CURRENT_LIST_DIR}/build_machine_headers.cmake)
build_machine_headers(fmt::fmt-header-only fmt)
target_compile_definitions(fmt::fmt-header-only INTERFACE FMT_HEADER_ONLY=1)
