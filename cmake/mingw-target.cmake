# 64-bit Windows with mingw-w64's headers and run-time libraries; for the toolchain files beside it.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

# The C run time: ucrt, the Universal one, or the older msvcrt. Each has a target, and with it headers
# and libraries, of its own. In a package it is the package's.
if(EXISTS /usr/x86_64-w64-mingw32ucrt)
  set(crt ucrt)
else()
  set(crt msvcrt)
endif()
include(${CMAKE_CURRENT_LIST_DIR}/package-crt.cmake OPTIONAL)
set(VTCLASS_CRT ${crt} CACHE STRING "The C run time of the DLLs: ucrt or msvcrt")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VTCLASS_CRT)
if(VTCLASS_CRT STREQUAL "ucrt")
  set(triple x86_64-w64-mingw32ucrt)
elseif(VTCLASS_CRT STREQUAL "msvcrt")
  set(triple x86_64-w64-mingw32)
else()
  message(FATAL_ERROR "VTCLASS_CRT is \"${VTCLASS_CRT}\"; known are ucrt and msvcrt.")
endif()

set(CMAKE_FIND_ROOT_PATH /usr/${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)

if(EXISTS ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../scripts/wine")
endif()
