# Libraries that Debian ships: GoogleTest as source, the header-only ones from the system's include folder.

if(BUILD_TESTING)
  set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  # Nobody debugs it here, and it takes little of a test's time, so it has neither symbols nor optimisation.
  foreach(library gtest gtest_main gmock gmock_main)
    target_compile_options(${library} PRIVATE -g0 -O0)
  endforeach()
endif()

# A cross compiler must not see the whole system include folder, whose C headers are the wrong ones:
# each header-only library is handed over alone, through a folder that holds one link.
function(zerix_header_library target folder)
  set(links ${CMAKE_BINARY_DIR}/third-party/${target})
  file(MAKE_DIRECTORY ${links})
  file(CREATE_LINK /usr/include/${folder} ${links}/${folder} SYMBOLIC)
  add_library(${target} INTERFACE)
  target_include_directories(${target} SYSTEM INTERFACE ${links})
endfunction()

zerix_header_library(cli11 CLI)
zerix_header_library(nlohmann_json nlohmann)
zerix_header_library(pegtl tao)
