# Installs the project into a scratch prefix, then builds and runs a small
# project that finds it once through its CMake package and once through
# pkg-config.
set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix}
                RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "install failed")
endif()
foreach(method package pkgconfig)
  set(build ${WORK_DIR}/build-${method})
  execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${build} -G ${GENERATOR}
                          -DCMAKE_PREFIX_PATH=${prefix} -DFIND_WITH=${method}
                          -DCMAKE_CXX_COMPILER=${CXX_COMPILER}
                          "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${CXX_FLAGS}"
                  RESULT_VARIABLE failed)
  if(NOT failed)
    execute_process(COMMAND ${CMAKE_COMMAND} --build ${build} RESULT_VARIABLE failed)
  endif()
  if(NOT failed)
    execute_process(COMMAND ${build}/downstream RESULT_VARIABLE failed)
  endif()
  if(failed)
    message(FATAL_ERROR "downstream project (${method}) failed")
  endif()
endforeach()
