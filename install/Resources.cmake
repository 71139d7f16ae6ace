# zerix_product_version(VARIABLE)
# Sets the variable to the product's version, which ProductVersion.h defines for the provider and the broker too.
function(zerix_product_version variable)
  set(header ${CMAKE_SOURCE_DIR}/src/Utils/ProductVersion.h)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
  file(STRINGS ${header} line REGEX "VERSION\\[\\] = \"[0-9.]+\"")
  string(REGEX REPLACE ".*\"([0-9.]+)\".*" "\\1" version "${line}")
  set(${variable} ${version} PARENT_SCOPE)
endfunction()

# zerix_version_resource(TARGET DESCRIPTION)
# Gives a DLL or program of the product its version resource.
function(zerix_version_resource target description)
  zerix_product_version(version)
  string(REPLACE "." "," numbers "${version}")

  get_target_property(kind ${target} TYPE)
  if(kind STREQUAL "EXECUTABLE")
    set(file_type VFT_APP)
    set(file_name ${target}.exe)
  else()
    set(file_type VFT_DLL)
    set(file_name ${target}.dll)
  endif()
  configure_file(${CMAKE_SOURCE_DIR}/install/Version.rc.in ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc @ONLY)
  target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
endfunction()

# zerix_event_messages(TARGET)
# Puts the texts of the product's events into a DLL: the event source names that DLL as its message file.
function(zerix_event_messages target)
  find_program(ZERIX_WINDMC x86_64-w64-mingw32-windmc REQUIRED)
  set(script ${CMAKE_CURRENT_BINARY_DIR}/EventMessages.rc)
  add_custom_command(OUTPUT ${script}
    COMMAND ${ZERIX_WINDMC} -h ${CMAKE_CURRENT_BINARY_DIR} -r ${CMAKE_CURRENT_BINARY_DIR}
      ${CMAKE_SOURCE_DIR}/install/EventMessages.mc
    DEPENDS ${CMAKE_SOURCE_DIR}/install/EventMessages.mc VERBATIM)
  target_sources(${target} PRIVATE ${script})
endfunction()
