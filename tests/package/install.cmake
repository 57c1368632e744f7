# Builds the library alone in DIRECTORY/build, installs it into DIRECTORY/staging and moves it to DIRECTORY/prefix.
cmake_minimum_required(VERSION 3.25)
function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    list(JOIN ARGV " " command)
    message(FATAL_ERROR "${command}\n${output}")
  endif()
endfunction()

set(shared OFF)
if(KIND STREQUAL "shared")
  set(shared ON)
endif()
run(${CMAKE_COMMAND} -S "${SOURCE}" -B "${DIRECTORY}/build" -G "${GENERATOR}" -DBUILD_SHARED_LIBS=${shared}
    "-DCMAKE_BUILD_TYPE=${BUILD_TYPE}" "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}"
    "-DVELL_SANITIZE=${SANITIZE}" -DVELL_BUILD_TOOL=OFF -DVELL_BUILD_TESTS=OFF -DVELL_BUILD_BENCHMARKS=OFF
    -DCMAKE_INSTALL_LIBDIR=lib "-DCMAKE_INSTALL_PREFIX=${DIRECTORY}/staging")
run(${CMAKE_COMMAND} --build "${DIRECTORY}/build" --parallel 2)
file(REMOVE_RECURSE "${DIRECTORY}/staging" "${DIRECTORY}/prefix")
run(${CMAKE_COMMAND} --install "${DIRECTORY}/build")
file(RENAME "${DIRECTORY}/staging" "${DIRECTORY}/prefix")
