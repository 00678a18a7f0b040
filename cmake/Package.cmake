# What `make package` puts into the zip and what find_package(vtclass_mini) finds.
include(CMakePackageConfigHelpers)
install(TARGETS vtclass_mini EXPORT vtclass_mini
  RUNTIME DESTINATION bin ARCHIVE DESTINATION lib)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/include/vtclass DESTINATION include)
install(FILES ${CMAKE_SOURCE_DIR}/messages/message_ids.h ${CMAKE_SOURCE_DIR}/messages/message_codes.h
  DESTINATION include/vterrors)
install(FILES ${CMAKE_BINARY_DIR}/bin/vtclass_mini.pdb ${CMAKE_BINARY_DIR}/bin/vtctl.pdb
  DESTINATION bin OPTIONAL)
if(NOT MSVC)
  target_link_options(vtctl PRIVATE LINKER:--pdb=${CMAKE_BINARY_DIR}/bin/vtctl.pdb)
endif()

# For people.
install(FILES ${CMAKE_SOURCE_DIR}/README.md ${CMAKE_SOURCE_DIR}/CHANGELOG.md DESTINATION .)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/docs ${CMAKE_SOURCE_DIR}/examples DESTINATION .
  PATTERN Doxyfile EXCLUDE PATTERN comments.py EXCLUDE)
# What the files contain of others' works: docs/licenses.md. The texts are those of the packages that
# the build used; scripts/package sees that none is missing.
set(licenses
  ${OPENSSL_ROOT_DIR}/LICENSE.txt libcrypto.txt
  /usr/share/doc/gcc-mingw-w64-base/copyright gcc-runtime.txt
  /usr/share/common-licenses/GPL-3 GPL-3.txt
  /usr/share/doc/mingw-w64-common/copyright mingw-w64.txt
  /usr/share/doc/libcli11-dev/copyright cli11.txt
  /usr/share/doc/nlohmann-json3-dev/copyright nlohmann-json.txt)
while(licenses)
  list(POP_FRONT licenses from name)
  install(FILES ${from} DESTINATION licenses RENAME ${name} OPTIONAL)
endwhile()

# For CMake.
if(CMAKE_CROSSCOMPILING)
  file(WRITE ${CMAKE_BINARY_DIR}/package-crt.cmake "set(crt ${VTCLASS_CRT})\n")
  install(FILES ${CMAKE_BINARY_DIR}/package-crt.cmake ${CMAKE_SOURCE_DIR}/cmake/mingw-target.cmake
    ${CMAKE_SOURCE_DIR}/cmake/mingw-clang.cmake ${CMAKE_SOURCE_DIR}/cmake/mingw-gcc.cmake
    DESTINATION cmake)
endif()
install(EXPORT vtclass_mini NAMESPACE vtclass:: FILE vtclass_mini-targets.cmake
  DESTINATION lib/cmake/vtclass_mini)
# What the package is for is said by its own file, in a sentence.
write_basic_package_version_file(${CMAKE_BINARY_DIR}/vtclass_mini-config-version.cmake
  COMPATIBILITY SameMinorVersion ARCH_INDEPENDENT)
if(MSVC)
  set(package_compiler "Visual C++ for 64 bits and C++20")
  set(package_abi "defined(_MSC_VER)")
  set(package_other_abi "This compiler follows GCC's rules for C++.")
  set(package_library 1)
  set(package_crt 1)
else()
  set(package_compiler
    "mingw-w64 on x86_64 (GCC or clang) with libstdc++, the C run time ${VTCLASS_CRT} and C++20")
  set(package_abi "defined(__MINGW32__)")
  set(package_other_abi "This compiler follows Visual C++'s rules for C++.")
  set(package_library "defined(__GLIBCXX__)")
  set(package_crt "defined(_UCRT)")
  if(VTCLASS_CRT STREQUAL "msvcrt")
    set(package_crt "!defined(_UCRT)")
  endif()
endif()
configure_file(${CMAKE_SOURCE_DIR}/cmake/vtclass_mini-config.cmake.in
  ${CMAKE_BINARY_DIR}/vtclass_mini-config.cmake @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/vtclass_mini-config.cmake
  ${CMAKE_BINARY_DIR}/vtclass_mini-config-version.cmake
  DESTINATION lib/cmake/vtclass_mini)
