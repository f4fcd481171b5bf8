# Runs one script test and checks it against the expectations written in
# the script itself:
#
#   // expect: TEXT            the next line of standard output is TEXT
#   // expect error: MESSAGE   standard error holds "FILE:LINE: error: MESSAGE",
#                              LINE being this comment's line (status 1)
#   // expect stderr: TEXT     the next line of standard error is TEXT
#   // expect status: N        the exit status is N (default: 1 after an
#                              expected error line, 0 otherwise)
#   // args: A B C             arguments after the script's name (ARGS)
#
# The script runs from its own folder under its bare file name, so messages
# name it the same way on every platform.
#
#   cmake "-DTUL=emulator;path/to/tul" -DSCRIPT=path/to/test.tul -P run_script.cmake
#
# With -DRUNS_CLEANLY=ON only the status (0) and an empty standard error are
# checked: examples print what they like.
cmake_minimum_required(VERSION 3.20)

get_filename_component(dir "${SCRIPT}" DIRECTORY)
get_filename_component(name "${SCRIPT}" NAME)
file(READ "${SCRIPT}" source)
string(REPLACE "\r\n" "\n" source "${source}")

# Lines are taken one at a time with string(FIND): turning the file into a
# CMake list would split it at every ';' of the code.
set(want_out "")
set(want_err "")
set(want_status "")
set(saw_error FALSE)
set(args "")
set(lineno 0)
while(NOT source STREQUAL "")
  string(FIND "${source}" "\n" nl)
  if(nl EQUAL -1)
    set(line "${source}")
    set(source "")
  else()
    string(SUBSTRING "${source}" 0 ${nl} line)
    math(EXPR rest "${nl} + 1")
    string(SUBSTRING "${source}" ${rest} -1 source)
  endif()
  math(EXPR lineno "${lineno} + 1")
  if(line MATCHES "// expect: (.*)$")
    string(APPEND want_out "${CMAKE_MATCH_1}\n")
  elseif(line MATCHES "// expect:$")
    string(APPEND want_out "\n")
  elseif(line MATCHES "// expect error: (.*)$")
    string(APPEND want_err "${name}:${lineno}: error: ${CMAKE_MATCH_1}\n")
    set(saw_error TRUE)
  elseif(line MATCHES "// expect stderr: (.*)$")
    string(APPEND want_err "${CMAKE_MATCH_1}\n")
  elseif(line MATCHES "// expect status: ([0-9]+)")
    set(want_status ${CMAKE_MATCH_1})
  elseif(line MATCHES "^// args: (.*)$")
    separate_arguments(args UNIX_COMMAND "${CMAKE_MATCH_1}")
  endif()
endwhile()
if(want_status STREQUAL "")
  if(saw_error)
    set(want_status 1)
  else()
    set(want_status 0)
  endif()
endif()

execute_process(COMMAND ${TUL} ${name} ${args}
  WORKING_DIRECTORY "${dir}"
  RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
string(REPLACE "\r\n" "\n" out "${out}")
string(REPLACE "\r\n" "\n" err "${err}")

if(RUNS_CLEANLY)
  set(want_status 0)
  set(want_out "${out}")
  set(want_err "")
endif()

set(problems "")
if(NOT status STREQUAL want_status)
  string(APPEND problems "exit status ${status}, expected ${want_status}\n")
endif()
if(NOT out STREQUAL want_out)
  string(APPEND problems "standard output differs\n--- expected\n${want_out}--- actual\n${out}---\n")
endif()
if(NOT err STREQUAL want_err)
  string(APPEND problems "standard error differs\n--- expected\n${want_err}--- actual\n${err}---\n")
endif()
if(NOT problems STREQUAL "")
  message(FATAL_ERROR "${name}: ${problems}")
endif()
