# What a finished installation holds, and where. Folders are the same on every system, so that orvctl finds the component and the
# samples from its own place.
include(CMakePackageConfigHelpers)

if(WIN32)
  set(component_folder bin)
  set(ORV_CLIENT_LIBRARIES ole32 oleaut32 uuid)
else()
  set(component_folder lib)
  set(ORV_CLIENT_LIBRARIES ${CMAKE_DL_LIBS})
endif()
install(TARGETS orv_apo_controller LIBRARY DESTINATION ${component_folder})
install(TARGETS orvctl RUNTIME DESTINATION bin)
if(ORV_TYPE_LIBRARY)
  # Natively it is made by a build of everything only.
  install(FILES ${ORV_TYPE_LIBRARY} DESTINATION ${component_folder} OPTIONAL)
endif()
install(DIRECTORY include/orv_apo DESTINATION include)
# Where a client that names no folder has it sought.
install(TARGETS kxtech64 LIBRARY DESTINATION ${component_folder})

file(GLOB machines RELATIVE ${CMAKE_SOURCE_DIR}/samples/machines CONFIGURE_DEPENDS samples/machines/*/machine.json)
foreach(machine IN LISTS machines)
  cmake_path(REMOVE_FILENAME machine)
  install(DIRECTORY samples/machines/${machine} DESTINATION share/orv_apo/machines/${machine})
  install(FILES $<TARGET_FILE:kxtech64>
    DESTINATION share/orv_apo/machines/${machine}drive_c/Windows/System32)
endforeach()
set(client samples/client)
install(FILES ${client}/CMakeLists.txt ${client}/client.cpp ${client}/system.h ${client}/system_native.cpp
  ${client}/system_windows.cpp DESTINATION share/orv_apo/client)
# As they lie here: their links stay right.
install(FILES README.md CONTRIBUTING.md LICENSE DESTINATION share/doc/orv_apo)
install(FILES samples/README.md DESTINATION share/doc/orv_apo/samples)
install(DIRECTORY docs DESTINATION share/doc/orv_apo)

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
