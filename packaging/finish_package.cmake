# Run by cpack when a Debian package is made: packs it anew without what cpack adds on its own account, so that the same content gives
# the same bytes. cpack counts the sizes of folders, which depend on the file system, and takes the component for a library that the
# loader's cache has to know.
set(folder ${CPACK_TOPLEVEL_DIRECTORY}/unpacked)
file(REMOVE_RECURSE ${folder})
execute_process(COMMAND dpkg-deb -R ${CPACK_PACKAGE_FILES} ${folder} COMMAND_ERROR_IS_FATAL ANY)
file(REMOVE ${folder}/DEBIAN/postinst ${folder}/DEBIAN/postrm)

file(GLOB_RECURSE files ${folder}/usr/*)
set(kilobytes 0)
foreach(file IN LISTS files)
  if(NOT IS_SYMLINK ${file})
    file(SIZE ${file} size)
    math(EXPR kilobytes "${kilobytes} + (${size} + 1023) / 1024")
  endif()
endforeach()
file(READ ${folder}/DEBIAN/control control)
string(REGEX REPLACE "Installed-Size: [0-9]+" "Installed-Size: ${kilobytes}" control "${control}")
file(WRITE ${folder}/DEBIAN/control "${control}")
execute_process(COMMAND chmod -R u=rwX,go=rX ${folder} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND dpkg-deb --root-owner-group -Zxz -b ${folder} ${CPACK_PACKAGE_FILES}
  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
