# zerix_split_symbols(TARGET)
# Strips the target's file and keeps its symbols beside it in NAME.debug. A link in the stripped file leads a debugger to
# them. Wine reads a whole module, including its symbols, so a stripped program starts in a third of the time.
function(zerix_split_symbols target)
  add_custom_command(TARGET ${target} POST_BUILD WORKING_DIRECTORY $<TARGET_FILE_DIR:${target}>
    COMMAND ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE_NAME:${target}> $<TARGET_FILE_NAME:${target}>.debug
    COMMAND ${CMAKE_STRIP} $<TARGET_FILE_NAME:${target}>
    COMMAND ${CMAKE_OBJCOPY} --add-gnu-debuglink=$<TARGET_FILE_NAME:${target}>.debug $<TARGET_FILE_NAME:${target}>
    VERBATIM)
endfunction()
