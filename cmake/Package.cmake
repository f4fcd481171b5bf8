# The Windows package: one ZIP a user unpacks and runs, holding tul.exe, the
# two DLLs (linked statically against the C and C++ runtimes, so they need
# only the system's DLLs and each other), the examples, the docs and a
# README. `cmake --build --preset windows-x86 --target package` writes
# build/windows-x86/tul2class-VERSION-win32.zip, VERSION from project().
# The binaries are stripped: the build folder keeps the copies with their
# debugging information.
if(NOT WIN32)
  return()
endif()

# The README opens in Notepad, which older Windows shows right only with CRLF.
configure_file(${PROJECT_SOURCE_DIR}/packaging/README.txt.in
  ${TUL_GENERATED_DIR}/README.txt @ONLY NEWLINE_STYLE CRLF)

# The import libraries (ARCHIVE) are for linking against the DLLs, which no
# user of the package does.
install(TARGETS tul tul2class tullib
  RUNTIME DESTINATION .
  ARCHIVE DESTINATION lib EXCLUDE_FROM_ALL)
install(FILES ${TUL_GENERATED_DIR}/README.txt DESTINATION .)
file(GLOB examples CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/examples/*.tul)
file(GLOB docs CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/*.md)
file(GLOB images CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/images/*)
install(FILES ${examples} DESTINATION examples)
install(FILES ${docs} DESTINATION docs)
install(FILES ${images} DESTINATION docs/images)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-win32)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR})
set(CPACK_STRIP_FILES ON)
# Everything under one folder named like the ZIP, so unpacking it anywhere
# gives one folder to open a command prompt in.
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY ON)
include(CPack)
