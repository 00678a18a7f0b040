# 64-bit Windows with clang, lld and Debian's mingw-w64.
include(${CMAKE_CURRENT_LIST_DIR}/mingw-target.cmake)
set(CMAKE_C_COMPILER clang-19)
set(CMAKE_CXX_COMPILER clang++-19)
set(CMAKE_C_COMPILER_TARGET ${triple})
set(CMAKE_CXX_COMPILER_TARGET ${triple})
set(CMAKE_RC_COMPILER ${triple}-windres)
set(CMAKE_AR ${triple}-ar)
set(CMAKE_RANLIB ${triple}-ranlib)

# Structured exception handling (__try) and __declspec.
set(CMAKE_CXX_FLAGS_INIT "-fms-extensions")

# -static: programs and DLLs carry their own C++ run time, nothing stands beside them.
set(linker_flags "-fuse-ld=lld-19 -static")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${linker_flags}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${linker_flags}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${linker_flags}")
# Behind all other libraries, also in CMake's own checks: the static C++ run time needs pthread.
set(CMAKE_CXX_STANDARD_LIBRARIES
  "-lkernel32 -luser32 -lshell32 -lole32 -luuid -ladvapi32 -lpthread")
