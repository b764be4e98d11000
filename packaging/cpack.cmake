# Read by cpack. The times in the packages are that of the last commit: whoever builds it again, anywhere and
# at any time, gets the same files.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND git -C ${CMAKE_CURRENT_LIST_DIR} log -1 --format=%ct
                  OUTPUT_VARIABLE commit_time OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failure)
  if(failure)
    message(FATAL_ERROR "The sources are no git repository: set SOURCE_DATE_EPOCH, the packages' time.")
  endif()
  set(ENV{SOURCE_DATE_EPOCH} ${commit_time})
endif()
