# vtclass_mini.dll: exports by annotation only.
add_library(vtclass_mini SHARED)
add_library(vtclass::vtclass_mini ALIAS vtclass_mini)
target_compile_definitions(vtclass_mini PRIVATE VTCLASS_MINI_BUILD)
target_compile_definitions(vtclass_core PRIVATE VTCLASS_MINI_BUILD)
target_link_libraries(vtclass_mini PRIVATE vtclass_core)
target_include_directories(vtclass_mini PUBLIC
  $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/include>
  $<INSTALL_INTERFACE:include>)
target_include_directories(vtclass_mini PRIVATE ${CMAKE_SOURCE_DIR})
target_link_libraries(vtclass_mini PRIVATE advapi32)

vtclass_dll(vtclass_mini "${PROJECT_DESCRIPTION}")

# The companions load at their first call: a host that never asks for a host's name or a cluster and
# never logs an account on does not pay for them. Imported plainly, they make loading this DLL five times as slow.
# Only functions are imported from them.
set(delayed vtsocket.dll vtcluster.dll vtstdutl.dll)
if(MSVC)
  list(TRANSFORM delayed PREPEND /DELAYLOAD:)
else()
  list(TRANSFORM delayed PREPEND LINKER:--delayload=)
endif()
target_link_options(vtclass_mini PRIVATE ${delayed})
target_link_libraries(vtclass_mini PRIVATE delayimp)
