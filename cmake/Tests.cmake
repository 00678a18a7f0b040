# GoogleTest from its sources, such as Debian's package, or on Windows as find_package finds it; the
# tests run through CTest.
if(EXISTS "${VTCLASS_GOOGLETEST_SOURCE}/CMakeLists.txt")
  set(INSTALL_GTEST OFF)
  set(BUILD_GMOCK OFF)
  set(gtest_force_shared_crt ON)
  add_subdirectory(${VTCLASS_GOOGLETEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
elseif(MSVC)
  find_package(GTest CONFIG REQUIRED)
  add_library(gtest ALIAS GTest::gtest)
else()
  return()
endif()
enable_testing()
include(GoogleTest)

function(vtclass_add_test_executable name)
  cmake_parse_arguments(arg "" "LOCK" "FILES;LIBRARIES" ${ARGN})
  add_executable(${name} ${arg_FILES})
  target_link_libraries(${name} PRIVATE
    vtclass_options vtclass_mini vtclass_core vtclass_platform vtclass_test_support gtest advapi32 ${arg_LIBRARIES})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR})
  foreach(file ${arg_FILES})
    get_filename_component(file ${file} ABSOLUTE)
    set_property(GLOBAL APPEND PROPERTY vtclass_test_files ${file})
  endforeach()
endfunction()

function(vtclass_add_test_program name)
  cmake_parse_arguments(arg "" "LOCK" "FILES;LIBRARIES" ${ARGN})
  set(lock)
  if(arg_LOCK)
    set(lock RESOURCE_LOCK ${arg_LOCK})
  endif()
  vtclass_add_test_executable(${name} ${ARGN})
  # A run counts as passed only when GoogleTest says so: a process that dies of exhausted memory
  # can end with exit code 0.
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
    PROPERTIES TIMEOUT 120 ${lock})
endfunction()

# A program that runs as one test in the tests' network (tests/network). On Windows there is none,
# and the program says so itself.
function(vtclass_add_network_test_program name)
  vtclass_add_test_executable(${name} ${ARGN})
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    add_test(NAME ${name} COMMAND ${CMAKE_SOURCE_DIR}/tests/network/in-network
      ${CMAKE_BINARY_DIR}/network-tests/${name} ${CMAKE_CROSSCOMPILING_EMULATOR}
      $<TARGET_FILE:${name}>)
    set_tests_properties(${name} PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 120)
  else()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST)
  endif()
endfunction()

# A test file that no program compiles would pass for ever.
function(vtclass_check_every_test_is_registered)
  file(GLOB_RECURSE files CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/*_test.cpp)
  list(FILTER files EXCLUDE REGEX "^${CMAKE_SOURCE_DIR}/build/")
  get_property(registered GLOBAL PROPERTY vtclass_test_files)
  foreach(file ${files})
    if(NOT file IN_LIST registered)
      message(FATAL_ERROR "${file} belongs to no test program. Name it in a vtclass_test() of its "
        "folder's CMakeLists.txt.")
    endif()
  endforeach()
endfunction()
