# Decides how test programs run. A machine that cannot execute i386 code
# (many x86_64 kernels are built without 32-bit support) runs them through
# qemu-i386; the emulator then prefixes every add_test command.
if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux" OR DEFINED TUL_EMULATOR)
  return()
endif()

set(_probe_dir ${CMAKE_BINARY_DIR}/emulator-probe)
file(WRITE ${_probe_dir}/probe.cpp "int main() { return 0; }\n")
try_compile(_probe_built ${_probe_dir}/build ${_probe_dir}/probe.cpp
  COPY_FILE ${_probe_dir}/probe)
set(_emulator "")
if(_probe_built)
  execute_process(COMMAND ${_probe_dir}/probe RESULT_VARIABLE _native
    OUTPUT_QUIET ERROR_QUIET)
  if(NOT _native EQUAL 0)
    find_program(_qemu qemu-i386)
    if(NOT _qemu)
      message(FATAL_ERROR "This machine cannot run i386 programs and qemu-i386 "
        "is missing: run scripts/setup.sh (it installs qemu-user).")
    endif()
    set(_emulator ${_qemu})
  endif()
endif()
set(TUL_EMULATOR "${_emulator}" CACHE STRING "Runs the i386 test programs (empty: native)")
message(STATUS "i386 programs run ${_emulator}")
