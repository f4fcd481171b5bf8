# Runs a command and compares its standard output with a file, and its exit
# status with EXPECT_STATUS (default 0).
#   cmake -DCMD="prog;args" -DEXPECTED=file [-DEXPECT_STATUS=n] [-DEXPECT_STDERR=text] -P run_and_compare.cmake
if(NOT DEFINED EXPECT_STATUS)
  set(EXPECT_STATUS 0)
endif()
execute_process(COMMAND ${CMD} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT status EQUAL EXPECT_STATUS)
  message(FATAL_ERROR "exit status ${status}, expected ${EXPECT_STATUS}\nstderr:\n${err}")
endif()
if(DEFINED EXPECTED)
  file(READ ${EXPECTED} want)
  if(NOT out STREQUAL want)
    message(FATAL_ERROR "output differs.\n--- expected\n${want}--- actual\n${out}")
  endif()
endif()
if(DEFINED EXPECT_STDERR AND NOT err MATCHES "${EXPECT_STDERR}")
  message(FATAL_ERROR "stderr does not match '${EXPECT_STDERR}':\n${err}")
endif()
