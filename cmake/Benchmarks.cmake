# Google Benchmark from Debian's source package, cross-built.
set(VTCLASS_BENCHMARK_DIR "" CACHE PATH "Google Benchmark's sources; 'make bench' sets it")
if(NOT EXISTS ${VTCLASS_BENCHMARK_DIR}/CMakeLists.txt)
  message(FATAL_ERROR "VTCLASS_BENCHMARK_DIR names no sources of Google Benchmark; run 'make bench'.")
endif()
set(BENCHMARK_ENABLE_TESTING OFF)
set(BENCHMARK_ENABLE_INSTALL OFF)
set(BENCHMARK_ENABLE_WERROR OFF)
add_subdirectory(${VTCLASS_BENCHMARK_DIR} ${CMAKE_BINARY_DIR}/googlebenchmark EXCLUDE_FROM_ALL SYSTEM)
