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
