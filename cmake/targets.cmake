# How this project's targets are made: one place for warnings, include folders and sanitizers.

add_library(orv_build_flags INTERFACE)
target_include_directories(orv_build_flags INTERFACE ${CMAKE_SOURCE_DIR}/include ${CMAKE_SOURCE_DIR}/src)
target_link_libraries(orv_build_flags INTERFACE Boost::boost orv_fmt)
target_compile_options(orv_build_flags INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wno-sign-conversion -Wimplicit-fallthrough)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # False alarms of this compiler on std::string concatenation when optimising.
  target_compile_options(orv_build_flags INTERFACE $<$<CONFIG:Release>:-Wno-restrict>)
endif()
if(ORV_SANITIZE)
  add_compile_options(-fsanitize=${ORV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ORV_SANITIZE})
endif()

add_library(orv_fmt STATIC ${CMAKE_CURRENT_LIST_DIR}/fmt.cpp)
target_include_directories(orv_fmt SYSTEM PUBLIC $<TARGET_PROPERTY:fmt::fmt-header-only,INTERFACE_INCLUDE_DIRECTORIES>)

# orv_library(NAME sources... [LINK targets...]): one folder of src/ as a static library.
function(orv_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LINK")
  add_library(${name} STATIC ${arg_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PUBLIC orv_build_flags ${arg_LINK})
endfunction()

# orv_light_optimisation(TARGETS...): for what spends its time waiting for the component and for the user, so that an optimised build takes
# a fifth less time.
function(orv_light_optimisation)
  foreach(name IN LISTS ARGV)
    target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-O1>)
  endforeach()
endfunction()

# orv_add_cases(NAME COMMAND...): a GoogleTest program as one CTest test, which reports and counts its cases and ends it after its time,
# in long runs ten times as much.
function(orv_add_cases name)
  set(seconds 600)
  math(EXPR limit "10 * ${seconds} + 60")
  add_test(NAME ${name} WORKING_DIRECTORY ${CMAKE_BINARY_DIR}
    COMMAND ${Python_EXECUTABLE} ${CMAKE_SOURCE_DIR}/scripts/test_program run ${name} ${seconds}
      ${CMAKE_CROSSCOMPILING_EMULATOR} ${ARGN})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${limit})
endfunction()

# orv_test(NAME sources... [RESOURCE_LOCK name] [LINK targets...]): one GoogleTest program. Its cases share a process and run in any
# order. Of the tests with one lock name a single one runs at a time.
function(orv_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "RESOURCE_LOCK" "LINK")
  add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE orv_build_flags ${arg_LINK} GTest::gmock GTest::gtest_main)
  set_target_properties(${name} PROPERTIES UNITY_BUILD OFF)
  orv_add_cases(${name} $<TARGET_FILE:${name}>)
  if(arg_RESOURCE_LOCK)
    set_tests_properties(${name} PROPERTIES RESOURCE_LOCK ${arg_RESOURCE_LOCK})
  endif()
endfunction()

# orv_benchmark(NAME sources... [LINK targets...]): one Google Benchmark program.
function(orv_benchmark name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LINK")
  add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE orv_build_flags ${arg_LINK} benchmark::benchmark_main)
endfunction()

# Everything the short fuzzing run needs; the rest of the tree does not link with a fuzzer's sanitizers.
add_custom_target(fuzzers)

# orv_fuzzer(NAME sources... [LINK targets...]): one libFuzzer program; seeds in fuzz/seeds/NAME, words in fuzz/NAME.dict.
function(orv_fuzzer name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LINK")
  add_executable(${name} main.cpp ${arg_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE orv_build_flags ${arg_LINK})
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  add_dependencies(fuzzers ${name})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/fuzz)
endfunction()
