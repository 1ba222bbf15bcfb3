# Sanitizer and fuzzing builds, each instrumenting every target of the build:
#
#   MORVA_SANITIZE  AddressSanitizer and UndefinedBehaviorSanitizer
#   MORVA_TSAN      ThreadSanitizer
#   MORVA_FUZZ      libFuzzer's coverage, and the fuzz programs in tests/fuzz
#                   (clang only; usually with MORVA_SANITIZE)
#
# MORVA_SANITIZER_FLAGS holds the flags a program needs to load an instrumented
# library: the downstream package test builds its program with them.
set(MORVA_SANITIZER_FLAGS "")
if(MORVA_SANITIZE AND MORVA_TSAN)
  message(FATAL_ERROR "MORVA_SANITIZE and MORVA_TSAN exclude each other: the runtimes can't share a process")
endif()
if(MORVA_SANITIZE)
  list(APPEND MORVA_SANITIZER_FLAGS -fsanitize=address,undefined)
  add_compile_options(-fno-sanitize-recover=undefined)
endif()
if(MORVA_TSAN)
  list(APPEND MORVA_SANITIZER_FLAGS -fsanitize=thread)
endif()
if(MORVA_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "MORVA_FUZZ needs clang, whose libFuzzer drives the fuzz programs")
  endif()
  # Coverage in the library's objects too; the fuzz programs add the fuzzer's
  # main and runtime.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(MORVA_SANITIZER_FLAGS)
  add_compile_options(${MORVA_SANITIZER_FLAGS} -fno-omit-frame-pointer)
  add_link_options(${MORVA_SANITIZER_FLAGS})
endif()

# The link option that makes a shared library prove it needs nothing but what
# it was linked with. gcc links a shared library with its sanitizer runtimes,
# so the check holds in every gcc build. clang leaves the runtimes (and
# libFuzzer's coverage hooks) to the executable, so an instrumented library
# has undefined symbols by design and goes without the check.
if((MORVA_SANITIZER_FLAGS OR MORVA_FUZZ) AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  set(MORVA_NO_UNDEFINED_OPTION "")
else()
  set(MORVA_NO_UNDEFINED_OPTION "LINKER:--no-undefined")
endif()
