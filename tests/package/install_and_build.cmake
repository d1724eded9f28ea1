# cmake -D BUILD=folder -D OUTSIDE=folder -D TOOLCHAIN=file -D GENERATOR=name -D COMPILER=file -P install_and_build.cmake
# Installs the build and builds the outside project against what was installed; natively the client then runs on an installed
# sample machine.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN}\n${output}")
  endif()
  set(output ${output} PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${OUTSIDE})
set(installed ${OUTSIDE}/installed)
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${installed})
# The folder is moved: nothing in it may remember where it was installed.
file(RENAME ${installed} ${OUTSIDE}/moved)
set(installed ${OUTSIDE}/moved)

set(system -DCMAKE_CXX_COMPILER=${COMPILER})
if(TOOLCHAIN)
  set(system -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
endif()
run(${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR} -B ${OUTSIDE}/build -G ${GENERATOR} ${system}
  -DCMAKE_BUILD_TYPE=Release -Dorv_apo_DIR=${installed}/lib/cmake/orv_apo)
run(${CMAKE_COMMAND} --build ${OUTSIDE}/build)

if(NOT TOOLCHAIN)
  set(ENV{ORV_MACHINE} ${installed}/share/orv_apo/machines/skylake-laptop)
  run(${OUTSIDE}/build/client)
  if(NOT output MATCHES "Internal Speakers.*ApoOpMode:Movie/Internal")
    message(FATAL_ERROR "The client does not see the machine's endpoints:\n${output}")
  endif()
  unset(ENV{ORV_MACHINE})
  run(${installed}/bin/orvctl --json endpoints)
  if(NOT output MATCHES "Internal Speakers")
    message(FATAL_ERROR "The installed orvctl does not find what was installed with it:\n${output}")
  endif()
endif()
