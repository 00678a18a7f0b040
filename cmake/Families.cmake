# What a family's CMakeLists.txt says of its files.

# Pure functions: compiled without windows.h, also natively.
function(vtclass_core_sources)
  list(TRANSFORM ARGN PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  target_sources(vtclass_core PRIVATE ${ARGN})
endfunction()

# The edge to Windows: part of the DLL only.
function(vtclass_sources)
  if(VTCLASS_NATIVE)
    return()
  endif()
  list(TRANSFORM ARGN PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  target_sources(vtclass_mini PRIVATE ${ARGN})
endfunction()

# One test program: vtclass_test(name files... [LIBRARIES targets...] [LOCK name]). Of the tests with
# one LOCK only one runs at a time: they share something of the machine, such as its services.
function(vtclass_test name)
  if(NOT TARGET gtest)
    return()
  endif()
  cmake_parse_arguments(arg "" "LOCK" "LIBRARIES" ${ARGN})
  if(arg_LOCK)
    list(PREPEND arg_LOCK LOCK)
  endif()
  vtclass_add_test_program(${name} ${arg_LOCK}
    FILES ${arg_UNPARSED_ARGUMENTS} LIBRARIES ${arg_LIBRARIES})
endfunction()

# One test program that needs names, addresses and a DNS server of its own; same arguments.
function(vtclass_network_test name)
  if(NOT TARGET gtest)
    return()
  endif()
  cmake_parse_arguments(arg "" "" "LIBRARIES" ${ARGN})
  vtclass_add_network_test_program(${name}
    FILES ${arg_UNPARSED_ARGUMENTS} LIBRARIES ${arg_LIBRARIES})
endfunction()
