# What `make package` puts into the zip and what find_package(vtclass_mini) finds.
include(CMakePackageConfigHelpers)
install(TARGETS vtclass_mini EXPORT vtclass_mini
  RUNTIME DESTINATION bin ARCHIVE DESTINATION lib)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/include/vtclass DESTINATION include)
install(FILES ${CMAKE_BINARY_DIR}/bin/vtclass_mini.pdb DESTINATION bin OPTIONAL)
# The DLL holds a part of libcrypto, whose license wants to go with it.
install(FILES ${OPENSSL_ROOT_DIR}/LICENSE.txt DESTINATION licenses RENAME libcrypto.txt OPTIONAL)
install(EXPORT vtclass_mini NAMESPACE vtclass:: FILE vtclass_mini-config.cmake
  DESTINATION lib/cmake/vtclass_mini)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/vtclass_mini-config-version.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/vtclass_mini-config-version.cmake
  DESTINATION lib/cmake/vtclass_mini)
