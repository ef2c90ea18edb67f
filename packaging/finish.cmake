# Run by cpack on the packages that it has made, for what it cannot do: a trigger in place of scripts that call ldconfig,
# several architectures side by side, and the same bytes whenever and under whatever umask they are made.

set(stage ${CPACK_TEMPORARY_DIRECTORY}/finish)
execute_process(COMMAND dpkg-parsechangelog --file ${CMAKE_CURRENT_LIST_DIR}/changelog --show-field Timestamp
  OUTPUT_VARIABLE time OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(ENV{SOURCE_DATE_EPOCH} ${time})

foreach(package IN LISTS CPACK_PACKAGE_FILES)
  file(REMOVE_RECURSE ${stage})
  execute_process(COMMAND dpkg-deb --raw-extract ${package} ${stage} COMMAND_ERROR_IS_FATAL ANY)
  if(EXISTS ${stage}/DEBIAN/postinst)
    file(REMOVE ${stage}/DEBIAN/postinst ${stage}/DEBIAN/postrm)
    file(WRITE ${stage}/DEBIAN/triggers "activate-noawait ldconfig\n")
  endif()
  file(GLOB folders_of_architectures ${stage}/usr/lib/*-linux-gnu)
  if(folders_of_architectures)
    file(READ ${stage}/DEBIAN/control control)
    string(STRIP "${control}" control)
    file(WRITE ${stage}/DEBIAN/control "${control}\nMulti-Arch: same\n")
  endif()
  execute_process(COMMAND chmod -R u=rwX,go=rX ${stage} COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND dpkg-deb --root-owner-group --build ${stage} ${package} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
