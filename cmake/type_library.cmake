# orv_type_library(OUTPUT FILE): compiles the component's interface definition into the type library FILE.
find_package(Python REQUIRED COMPONENTS Interpreter)
function(orv_type_library)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "OUTPUT" "")
  set(definition ${PROJECT_SOURCE_DIR}/include/orv_apo/orv_apo_controller.idl)
  set(platform ${PROJECT_SOURCE_DIR}/src/api/windows)
  cmake_path(GET arg_OUTPUT PARENT_PATH folder)
  add_custom_command(OUTPUT ${arg_OUTPUT}
    COMMAND ${ORV_WIDL} -t -I ${platform} -o ${folder}/stdole2.tlb ${platform}/stdole2.idl
    COMMAND ${CMAKE_COMMAND} -E env TZ=UTC0 ${ORV_WIDL} -t -I ${platform} -L ${folder} -o ${arg_OUTPUT} ${definition}
    COMMAND ${Python_EXECUTABLE} ${PROJECT_SOURCE_DIR}/cmake/type_library_time.py ${arg_OUTPUT}
    DEPENDS ${definition} ${platform}/oaidl.idl ${platform}/stdole2.idl
      ${PROJECT_SOURCE_DIR}/cmake/type_library_time.py
    VERBATIM)
endfunction()
