# Run by cpack before it writes the packages, and after. What it makes on the way has modes by the umask:
# folders that lead to a file, and the parts of a package's archive.
if(NOT CPACK_PACKAGE_FILES)
  file(CHMOD_RECURSE ${CPACK_TEMPORARY_INSTALL_DIRECTORY}
       DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                             WORLD_READ WORLD_EXECUTE)
endif()
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(parts ${CPACK_TOPLEVEL_DIRECTORY}/parts)
  file(REMOVE_RECURSE ${parts})
  file(MAKE_DIRECTORY ${parts})
  execute_process(COMMAND ar x ${package} WORKING_DIRECTORY ${parts} COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE ${package})
  execute_process(COMMAND ar rcD ${package} debian-binary control.tar.gz data.tar.gz
                  WORKING_DIRECTORY ${parts} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
