# What a finished installation holds, and where. Folders are the same on every system, so that orvctl finds the component and the
# samples from its own place.
include(CMakePackageConfigHelpers)

if(WIN32)
  set(component_folder bin)
  set(ORV_CLIENT_LIBRARIES ole32 oleaut32 uuid)
else()
  set(component_folder lib/orv_apo)
  set(ORV_CLIENT_LIBRARIES ${CMAKE_DL_LIBS})
endif()
# kxtech64 is where a client that names no folder has it sought.
install(TARGETS orv_apo_controller kxtech64 LIBRARY DESTINATION ${component_folder})
install(TARGETS orvctl RUNTIME DESTINATION bin)
if(ORV_TYPE_LIBRARY)
  # Natively it is made by a build of everything only.
  install(FILES ${ORV_TYPE_LIBRARY} DESTINATION ${component_folder} OPTIONAL)
endif()
install(DIRECTORY include/orv_apo DESTINATION include)

set(machines_folder share/orv_apo/machines)
file(GLOB machines RELATIVE ${CMAKE_SOURCE_DIR}/samples/machines CONFIGURE_DEPENDS samples/machines/*/machine.json)
list(TRANSFORM machines REPLACE /machine.json "")
foreach(machine IN LISTS machines)
  install(DIRECTORY samples/machines/${machine} DESTINATION ${machines_folder})
endforeach()
# Each machine's system directory has the installed technology library: a link where systems have links.
install(CODE "
  foreach(machine IN ITEMS ${machines})
    set(system_directory ${machines_folder}/\${machine}/drive_c/Windows/System32)
    set(installed \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX})
    set(library \${installed}/${component_folder}/kxtech64.dll)
    if(\"${CMAKE_SYSTEM_NAME}\" STREQUAL Windows)
      file(INSTALL \${library} DESTINATION \${CMAKE_INSTALL_PREFIX}/\${system_directory})
    else()
      file(MAKE_DIRECTORY \${installed}/\${system_directory})
      file(RELATIVE_PATH library \${installed}/\${system_directory} \${library})
      file(CREATE_LINK \${library} \${installed}/\${system_directory}/kxtech64.dll SYMBOLIC)
    endif()
  endforeach()")
set(client samples/client)
install(FILES ${client}/CMakeLists.txt ${client}/client.cpp ${client}/system.h ${client}/system_native.cpp
  ${client}/system_windows.cpp DESTINATION share/orv_apo/client)
# As they lie here: their links stay right.
set(pages_folder share/doc/orvctl)
install(FILES README.md CONTRIBUTING.md LICENSE DESTINATION ${pages_folder})
install(FILES samples/README.md DESTINATION ${pages_folder}/samples)
install(DIRECTORY docs DESTINATION ${pages_folder})

set(package_folder lib/cmake/orv_apo)
set(ORV_INCLUDE include)
set(ORV_COMPONENT_FOLDER ${component_folder})
set(ORV_COMPONENT
  ${component_folder}/$<TARGET_FILE_NAME:orv_apo_controller>)
configure_package_config_file(cmake/orv_apoConfig.cmake.in ${CMAKE_BINARY_DIR}/package/orv_apoConfig.cmake.in
  INSTALL_DESTINATION ${package_folder}
  PATH_VARS ORV_INCLUDE ORV_COMPONENT ORV_COMPONENT_FOLDER)
file(GENERATE OUTPUT ${CMAKE_BINARY_DIR}/package/orv_apoConfig.cmake
  INPUT ${CMAKE_BINARY_DIR}/package/orv_apoConfig.cmake.in)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/package/orv_apoConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/package/orv_apoConfig.cmake
  ${CMAKE_BINARY_DIR}/package/orv_apoConfigVersion.cmake DESTINATION ${package_folder})
