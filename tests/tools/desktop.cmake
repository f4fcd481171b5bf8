# The desktop class from the outside: tul --batch leaves nothing of one
# script for the next (windows, queued input and messages, a quit, dialog
# and message box answers, the last message box, the idle function, spies),
# and tul --screenshot saves a PNG when the script ends, as
# desktop.screenshot does during it.
#   cmake "-DTUL=emulator;path/to/tul" -DDIR=tests/tools/desktop -DOUT=dir -P desktop.cmake
file(REMOVE_RECURSE ${OUT})
file(MAKE_DIRECTORY ${OUT})

function(expect_file path want)
  file(READ ${path} got)
  if(NOT got STREQUAL "${want}")
    message(FATAL_ERROR "${path}: got [${got}], want [${want}]")
  endif()
endfunction()

file(WRITE ${OUT}/list "${DIR}/leaves.tul\n${DIR}/finds_nothing.tul\n")
execute_process(COMMAND ${TUL} --batch ${OUT}/list ${OUT} RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "tul --batch exited with ${status}")
endif()
expect_file(${OUT}/1.out "3\n")
expect_file(${OUT}/2.out "0\n0\n0 0\n[]\n0 0\nnil 6\n\
the message loop would wait for ever: no input, message, paint or timer can arrive\n")
expect_file(${OUT}/2.err "")
expect_file(${OUT}/2.status "0\n")

execute_process(COMMAND ${TUL} --screenshot ${OUT}/end.png ${DIR}/screenshot.tul ${OUT}/during.png
  RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT status EQUAL 0 OR NOT out STREQUAL "0000ff\n" OR NOT err STREQUAL "")
  message(FATAL_ERROR "tul --screenshot: status ${status}, output [${out}], errors [${err}]")
endif()
foreach(png during end)
  file(READ ${OUT}/${png}.png signature LIMIT 8 HEX)
  file(SIZE ${OUT}/${png}.png size)
  if(NOT signature STREQUAL "89504e470d0a1a0a" OR size LESS 100)
    message(FATAL_ERROR "${png}.png is not a PNG file (${signature}, ${size} bytes)")
  endif()
endforeach()
# The end is taken before the windows go: the screen has not changed since.
file(SHA256 ${OUT}/during.png during)
file(SHA256 ${OUT}/end.png end)
if(NOT during STREQUAL end)
  message(FATAL_ERROR "the screen saved at the end differs from the one saved during the script")
endif()
