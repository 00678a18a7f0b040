# libcrypto for Windows: the cipher and the digests link it statically.
if(MSVC)
  # On Windows it is looked for where CMAKE_PREFIX_PATH or OPENSSL_ROOT_DIR say; a static one for /MD.
  set(OPENSSL_USE_STATIC_LIBS ON)
  find_package(OpenSSL REQUIRED COMPONENTS Crypto)
  add_library(vtclass_libcrypto INTERFACE)
  target_link_libraries(vtclass_libcrypto INTERFACE OpenSSL::Crypto ws2_32 crypt32)
  return()
endif()

# `make build` provides it and names its folder in OPENSSL_ROOT_DIR.
set(OPENSSL_ROOT_DIR "" CACHE PATH "A folder with include/openssl and lib/libcrypto.a")
find_library(VTCLASS_LIBCRYPTO NAMES libcrypto.a libcrypto_static libcrypto
  PATHS ${OPENSSL_ROOT_DIR}/lib NO_CACHE NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
if(NOT VTCLASS_LIBCRYPTO)
  message(FATAL_ERROR "OPENSSL_ROOT_DIR (\"${OPENSSL_ROOT_DIR}\") names no libcrypto for Windows; "
    "'make build' provides one.")
endif()
add_library(vtclass_libcrypto STATIC IMPORTED)
set_target_properties(vtclass_libcrypto PROPERTIES
  IMPORTED_LOCATION ${VTCLASS_LIBCRYPTO}
  INTERFACE_INCLUDE_DIRECTORIES ${OPENSSL_ROOT_DIR}/include)
