# Per-target settings shared by every target of the tree: the language level,
# warnings (as errors), floating point and the optional sanitizers. Nothing
# here edits the global flags.
option(SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)

function(tul_target_defaults target)
  target_compile_features(${target} PRIVATE cxx_std_17)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF
    COMPILE_WARNING_AS_ERROR ON)
  # Compile options go to the C and C++ compilers only: windres, which
  # compiles the Windows version resources, takes none of them.
  set(cc "$<COMPILE_LANGUAGE:C,CXX>")
  target_compile_options(${target} PRIVATE
    "$<${cc}:-Wall;-Wextra;-Wpedantic;-Wshadow;-Wconversion>")
  # Doubles and floats are computed in SSE2 registers, so each operation
  # rounds once to the type's own precision as the platform's double does.
  # On the x87 unit an intermediate keeps 64 bits of mantissa and is
  # rounded again when stored, which moves results by an ulp, or keeps the
  # extra bits outright (145 / 500 * 800 truncates to 232, not 231). Doubles
  # are still returned in st(0), as the 32-bit calling convention requires.
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i[3-6]86|x86)$")
    target_compile_options(${target} PRIVATE "$<${cc}:-msse2;-mfpmath=sse>")
    # GCC's straight-line vectoriser joins neighbouring 4-byte copies into
    # 8- and 16-byte SSE ones. A value's fields are written one by one and
    # read again a few instructions later; a load wider than the stores
    # that wrote it waits until they reach the cache, a stall on every
    # argument and call.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      target_compile_options(${target} PRIVATE "$<${cc}:-fno-tree-slp-vectorize>")
    endif()
  endif()
  if(SANITIZE)
    target_compile_options(${target} PRIVATE
      "$<${cc}:-fsanitize=address,undefined;-fno-sanitize-recover=undefined;-fno-omit-frame-pointer>")
    target_link_options(${target} PRIVATE -fsanitize=address,undefined)
  endif()
endfunction()

# A test program: one add_test per executable, run through the emulator when
# the machine needs one.
function(tul_add_test name)
  cmake_parse_arguments(T "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  tul_target_defaults(${name})
  target_link_libraries(${name} PRIVATE ${T_LIBS} GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  add_test(NAME ${name} COMMAND ${TUL_EMULATOR} $<TARGET_FILE:${name}>)
endfunction()
