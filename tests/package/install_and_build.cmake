# cmake -D BUILD=folder -D OUTSIDE=folder -D TOOLCHAIN=file -D GENERATOR=name -D COMPILER=file -P install_and_build.cmake
# Installs the build, looks whether all is there, and builds the installed client's project against what was installed.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN}\n${output}")
  endif()
  set(output ${output} PARENT_SCOPE)
endfunction()

function(expect_files)
  foreach(file IN LISTS ARGN)
    if(NOT EXISTS ${installed}/${file})
      message(SEND_ERROR "${file} is not installed.")
    endif()
  endforeach()
endfunction()

# Every link in an installed page leads to something that is installed too.
function(expect_whole_links)
  file(GLOB_RECURSE pages ${installed}/share/*.md)
  foreach(page IN LISTS pages)
    file(READ ${page} text)
    string(REPLACE "](" "@link(" text "${text}")
    string(REGEX REPLACE "[][;]" "" text "${text}")
    string(REGEX MATCHALL "@link\\([^)#:]+" links "${text}")
    cmake_path(GET page PARENT_PATH folder)
    foreach(link IN LISTS links)
      string(REPLACE "@link(" "" link ${link})
      if(NOT EXISTS ${folder}/${link})
        message(SEND_ERROR "${page} links to ${link}, which is not installed.")
      endif()
    endforeach()
  endforeach()
endfunction()

file(REMOVE_RECURSE ${OUTSIDE})
set(installed ${OUTSIDE}/installed)
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${installed})
# The folder is moved: nothing in it may remember where it was installed.
file(RENAME ${installed} ${OUTSIDE}/moved)
set(installed ${OUTSIDE}/moved)

if(TOOLCHAIN)
  expect_files(bin/orv_apo_controller.dll bin/orv_apo_controller.tlb bin/kxtech64.dll bin/orvctl.exe)
else()
  expect_files(lib/orv_apo/liborv_apo_controller.so lib/orv_apo/kxtech64.dll bin/orvctl share/zsh/site-functions/_orvctl share/fish/vendor_completions.d/orvctl.fish)
  if(EXISTS ${BUILD}/src/api/orv_apo_controller.tlb)
    expect_files(lib/orv_apo/orv_apo_controller.tlb)
  endif()
endif()
set(machine share/orv_apo/machines/skylake-laptop)
expect_files(include/orv_apo/orv_apo.h include/orv_apo/com.h include/orv_apo/com_ptr.h include/orv_apo/native/com_types.h
  include/orv_apo/orv_apo_controller.idl
  lib/cmake/orv_apo/orv_apoConfig.cmake lib/cmake/orv_apo/orv_apoConfigVersion.cmake
  share/doc/orvctl/README.md share/doc/orvctl/LICENSE share/doc/orvctl/docs/clients.md
  ${machine}/machine.json ${machine}/registry.reg ${machine}/drive_c/Windows/System32/kxtech64.dll)
expect_whole_links()

set(system -DCMAKE_CXX_COMPILER=${COMPILER})
if(TOOLCHAIN)
  set(system -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
endif()
run(${CMAKE_COMMAND} -S ${installed}/share/orv_apo/client -B ${OUTSIDE}/build -G ${GENERATOR} ${system}
  -DCMAKE_BUILD_TYPE=Release -Dorv_apo_DIR=${installed}/lib/cmake/orv_apo)
run(${CMAKE_COMMAND} --build ${OUTSIDE}/build)

if(NOT TOOLCHAIN)
  run(${installed}/bin/orvctl --json endpoints)
  if(NOT output MATCHES "Internal Speakers")
    message(FATAL_ERROR "The installed orvctl does not find what was installed with it:\n${output}")
  endif()
endif()
