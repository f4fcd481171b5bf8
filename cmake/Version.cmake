# The version, stated once on the project() line of the top CMakeLists.txt,
# reaches every binary through configure_file: tul_version.h for the
# programs (tul --version) and, on Windows, a version resource for each
# binary, which Explorer's properties and GetFileVersionInfoA read.
set(TUL_GENERATED_DIR ${CMAKE_BINARY_DIR}/generated)

# The resource's numeric form has four parts; those project() leaves out are 0.
foreach(part MAJOR MINOR PATCH TWEAK)
  set(TUL_VERSION_${part} "${PROJECT_VERSION_${part}}")
  if(TUL_VERSION_${part} STREQUAL "")
    set(TUL_VERSION_${part} 0)
  endif()
endforeach()
configure_file(${CMAKE_CURRENT_LIST_DIR}/tul_version.h.in
  ${TUL_GENERATED_DIR}/tul_version.h @ONLY)

if(WIN32)
  enable_language(RC)
endif()

# Gives target the version resource (Windows only): the version, the product
# name and DESCRIPTION as the file's description.
function(tul_version_resource target description)
  if(NOT WIN32)
    return()
  endif()
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "EXECUTABLE")
    set(TUL_RC_FILETYPE VFT_APP)
    set(TUL_RC_FILE ${target}.exe)
  else()
    set(TUL_RC_FILETYPE VFT_DLL)
    set(TUL_RC_FILE ${target}.dll)
  endif()
  set(TUL_RC_NAME ${target})
  set(TUL_RC_DESCRIPTION "${description}")
  configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in
    ${TUL_GENERATED_DIR}/${target}.rc @ONLY)
  target_sources(${target} PRIVATE ${TUL_GENERATED_DIR}/${target}.rc)
  target_include_directories(${target} PRIVATE ${TUL_GENERATED_DIR})
endfunction()
