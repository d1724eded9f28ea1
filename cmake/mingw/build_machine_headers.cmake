# build_machine_headers(TARGET FOLDER): an interface target for a header-only library of the build machine. Only that library's
# folder is linked into a folder of its own: the system's other headers must stay out of a cross-compiler's sight.
function(build_machine_headers target folder)
  if(TARGET ${target})
    return()
  endif()
  find_path(ORV_${folder}_PARENT NAMES ${folder} PATHS /usr/include /usr/local/include NO_DEFAULT_PATH
    NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  set(linked ${CMAKE_BINARY_DIR}/headers/${folder})
  file(MAKE_DIRECTORY ${linked})
  file(CREATE_LINK ${ORV_${folder}_PARENT}/${folder} ${linked}/${folder} SYMBOLIC)
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${target} SYSTEM INTERFACE ${linked})
endfunction()
