# Flags shared by every target of the project.
#
# Pixel arithmetic is defined to the last bit, so the compiler may never fuse
# a multiply and an add, nor reorder floating point.
add_compile_options(-ffp-contract=off -fno-fast-math -Wall -Wextra)

if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
  set(MORVA_X86_64 ON)
else()
  set(MORVA_X86_64 OFF)
endif()

# Instruction-set flags go on the files of that instruction set only. The files
# belong to the object library made in src/, hence TARGET_DIRECTORY.
function(morva_isa_sources)
  if(NOT MORVA_X86_64)
    return()
  endif()
  foreach(file IN LISTS ARGN)
    if(file MATCHES "_avx512\\.cpp$")
      # GCC 12's AVX-512 intrinsics start from _mm512_undefined_*, which its
      # -Wmaybe-uninitialized reports in every caller (fixed in GCC 13).
      set_source_files_properties(${file} TARGET_DIRECTORY morva_objects PROPERTIES COMPILE_OPTIONS
                                  "-mavx512f;-mavx512bw;-mavx512dq;-mavx512vl;-mavx2;-Wno-maybe-uninitialized")
    elseif(file MATCHES "_avx2\\.cpp$")
      set_source_files_properties(${file} TARGET_DIRECTORY morva_objects PROPERTIES COMPILE_OPTIONS "-mavx2")
    elseif(file MATCHES "_ssse3\\.cpp$")
      set_source_files_properties(${file} TARGET_DIRECTORY morva_objects PROPERTIES COMPILE_OPTIONS "-mssse3")
    elseif(file MATCHES "_sse41\\.cpp$")
      set_source_files_properties(${file} TARGET_DIRECTORY morva_objects PROPERTIES COMPILE_OPTIONS "-msse4.1")
    endif()
  endforeach()
endfunction()

# Adds every source of a subsystem directory to the library's objects; the
# files under x86/ only on x86-64, with their instruction-set flags.
function(morva_subsystem_sources)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  target_sources(morva_objects PRIVATE ${sources})
  if(MORVA_X86_64)
    file(GLOB x86_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/x86/*.cpp)
    target_sources(morva_objects PRIVATE ${x86_sources})
    morva_isa_sources(${x86_sources})
  endif()
endfunction()
