# 64-bit Windows with mingw-w64's GCC: for programs that use the library, which is built with clang.
include(${CMAKE_CURRENT_LIST_DIR}/mingw-target.cmake)
# Where there are two, the one whose C++ library has threads.
find_program(VTCLASS_GCC NAMES ${triple}-gcc-posix ${triple}-gcc REQUIRED)
find_program(VTCLASS_GXX NAMES ${triple}-g++-posix ${triple}-g++ REQUIRED)
set(CMAKE_C_COMPILER ${VTCLASS_GCC})
set(CMAKE_CXX_COMPILER ${VTCLASS_GXX})
set(CMAKE_RC_COMPILER ${triple}-windres)
# -static: programs carry their own C++ run time, nothing stands beside them.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
