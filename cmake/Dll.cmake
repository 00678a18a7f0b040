# What the DLLs of this repository have in common: hardened image, version resource, symbols beside
# it, and an import library of its own name.
set(file_version "${PROJECT_VERSION_MAJOR},${PROJECT_VERSION_MINOR},${PROJECT_VERSION_PATCH},0")

# Visual C++ has no other.
if(NOT VTCLASS_CRT)
  set(VTCLASS_CRT ucrt)
endif()

# vtclass_version_resource(target description)
function(vtclass_version_resource target description)
  set(dll_name ${target})
  set(dll_description ${description})
  set(dll_crt ${VTCLASS_CRT})
  configure_file(${CMAKE_SOURCE_DIR}/cmake/version.rc.in ${CMAKE_BINARY_DIR}/${target}.rc @ONLY)
  target_sources(${target} PRIVATE ${CMAKE_BINARY_DIR}/${target}.rc)
endfunction()

# vtclass_dll(target description)
function(vtclass_dll target description)
  vtclass_version_resource(${target} ${description})
  target_link_libraries(${target} PRIVATE vtclass_options)
  set_target_properties(${target} PROPERTIES PREFIX "")
  if(NOT MSVC)
    set_target_properties(${target} PROPERTIES
      ARCHIVE_OUTPUT_NAME ${target} IMPORT_PREFIX "lib" IMPORT_SUFFIX ".dll.a")
    target_link_options(${target} PRIVATE
      LINKER:--dynamicbase LINKER:--high-entropy-va LINKER:--nxcompat
      LINKER:--pdb=${CMAKE_BINARY_DIR}/bin/${target}.pdb)
  endif()
endfunction()
