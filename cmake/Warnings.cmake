# Warnings are errors in the project's own sources; third-party sources are built without warnings.
set(ZERIX_SANITIZERS "" CACHE STRING "Comma-separated sanitizers for the native build")

add_library(zerix_options INTERFACE)
target_compile_options(zerix_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Woverloaded-virtual -Wcast-qual -Wimplicit-fallthrough -Werror)
if(WIN32)
  # The product calls the platform's own formatter, which spells unsigned 64-bit numbers "%I64u".
  target_compile_options(zerix_options INTERFACE -Wno-pedantic-ms-format)
endif()
if(ZERIX_SANITIZERS)
  target_compile_options(zerix_options INTERFACE
    -fsanitize=${ZERIX_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  # These checks take half of the build's time. AddressSanitizer ends a program at the mistakes that the first two find, and
  # only casts of pointers make the third's, of which the platform-neutral code has none.
  if(ZERIX_SANITIZERS MATCHES address)
    target_compile_options(zerix_options INTERFACE -fno-sanitize=null,object-size,alignment)
  endif()
  target_link_options(zerix_options INTERFACE -fsanitize=${ZERIX_SANITIZERS})
endif()
