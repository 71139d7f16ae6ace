# The shared C++ run time lies beside the DLLs and programs that use it. One shared copy per process is
# what lets an exception thrown by one module be caught in another.
foreach(dll libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
    OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  if(NOT IS_ABSOLUTE "${path}")
    find_file(runtime_${dll} ${dll} PATHS /usr/x86_64-w64-mingw32/lib REQUIRED NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
    set(path ${runtime_${dll}})
  endif()
  file(COPY ${path} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY} FOLLOW_SYMLINK_CHAIN)
  list(APPEND ZERIX_RUNTIME_DLLS ${path})
endforeach()
