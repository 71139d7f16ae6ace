# Warnings are errors in everything that is ours; third-party sources are built without them.
set(ZERIX_SANITIZERS "" CACHE STRING "Comma-separated sanitizers for the native build")

add_library(zerix_options INTERFACE)
target_compile_options(zerix_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Woverloaded-virtual -Wcast-qual -Wimplicit-fallthrough -Werror)
if(WIN32)
  # The platform's own formatter is the one that is called: "%I64u" is its name for unsigned 64-bit numbers.
  target_compile_options(zerix_options INTERFACE -Wno-pedantic-ms-format)
endif()
if(ZERIX_SANITIZERS)
  target_compile_options(zerix_options INTERFACE
    -fsanitize=${ZERIX_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(zerix_options INTERFACE -fsanitize=${ZERIX_SANITIZERS})
endif()
