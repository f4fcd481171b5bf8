# The win32 class offers exactly the C functions the Linux layer exports:
# nothing missing, nothing extra, nothing twice.
#   cmake "-DTUL=emulator;path/to/tul" -DLAYER=path/to/libtulwin32.so -DNM=nm
#         -P win32_functions.cmake
execute_process(COMMAND ${TUL} --win32-functions
  RESULT_VARIABLE status OUTPUT_VARIABLE listing ERROR_VARIABLE err)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "tul --win32-functions: exit status ${status}\n${err}")
endif()
execute_process(COMMAND ${NM} -D --defined-only ${LAYER}
  RESULT_VARIABLE status OUTPUT_VARIABLE symbols ERROR_VARIABLE err)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${NM} ${LAYER}: exit status ${status}\n${err}")
endif()

# The table: "NAME WORDS" a line.
set(table "")
string(REGEX MATCHALL "[^\n]+" lines "${listing}")
foreach(line IN LISTS lines)
  if(NOT line MATCHES "^([A-Za-z][A-Za-z0-9_]*) ([0-9]+)$")
    message(FATAL_ERROR "not a \"NAME WORDS\" line: '${line}'")
  endif()
  list(APPEND table ${CMAKE_MATCH_1})
endforeach()

# The layer's C functions: text symbols, less C++ names (_Z...) and the
# linker's own (_init, _fini).
set(exported "")
string(REGEX MATCHALL "[^\n]+" lines "${symbols}")
foreach(line IN LISTS lines)
  if(line MATCHES "^[0-9a-fA-F]+ [TW] ([A-Za-z][A-Za-z0-9_]*)$")
    list(APPEND exported ${CMAKE_MATCH_1})
  endif()
endforeach()

set(unique ${table})
list(REMOVE_DUPLICATES unique)
list(LENGTH table rows)
list(LENGTH unique names)
if(NOT rows EQUAL names)
  message(FATAL_ERROR "the table lists a function twice (${rows} rows, ${names} names)")
endif()
set(missing ${exported})
list(REMOVE_ITEM missing ${table})
set(extra ${table})
list(REMOVE_ITEM extra ${exported})
if(missing OR extra)
  message(FATAL_ERROR "the table and the layer differ\n"
    "exported but not in the table: ${missing}\nin the table but not exported: ${extra}")
endif()
list(LENGTH exported count)
message(STATUS "${count} functions, all in the table")
