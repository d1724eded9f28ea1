include(${CMAKE_CURRENT_LIST_DIR}/build_machine_headers.cmake)
build_machine_headers(nlohmann_json::nlohmann_json nlohmann)
