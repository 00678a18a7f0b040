# vtclass_mini.dll: exports by annotation only, hardened image, version resource, symbols beside it.
add_library(vtclass_mini SHARED)
add_library(vtclass::vtclass_mini ALIAS vtclass_mini)
target_compile_definitions(vtclass_mini PRIVATE VTCLASS_MINI_BUILD)
target_compile_definitions(vtclass_core PRIVATE VTCLASS_MINI_BUILD)
target_link_libraries(vtclass_mini PRIVATE vtclass_options vtclass_core)
target_include_directories(vtclass_mini PUBLIC
  $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/include>
  $<INSTALL_INTERFACE:include>)
target_include_directories(vtclass_mini PRIVATE ${CMAKE_SOURCE_DIR})
target_link_libraries(vtclass_mini PRIVATE advapi32)

set(file_version "${PROJECT_VERSION_MAJOR},${PROJECT_VERSION_MINOR},${PROJECT_VERSION_PATCH},0")
configure_file(${CMAKE_SOURCE_DIR}/cmake/version.rc.in ${CMAKE_BINARY_DIR}/version.rc @ONLY)
target_sources(vtclass_mini PRIVATE ${CMAKE_BINARY_DIR}/version.rc)

set_target_properties(vtclass_mini PROPERTIES PREFIX "")
if(NOT MSVC)
  set_target_properties(vtclass_mini PROPERTIES
    ARCHIVE_OUTPUT_NAME vtclass_mini IMPORT_PREFIX "lib" IMPORT_SUFFIX ".dll.a")
  target_link_options(vtclass_mini PRIVATE
    LINKER:--dynamicbase LINKER:--high-entropy-va LINKER:--nxcompat
    LINKER:--pdb=${CMAKE_BINARY_DIR}/bin/vtclass_mini.pdb)
endif()
