#ifndef VTCLASS_PLATFORM_C_RUN_TIME_H
#define VTCLASS_PLATFORM_C_RUN_TIME_H

#include <cstdlib>  // declares which one it is

/* 1 with the Universal C run time, 0 with the older msvcrt: they differ where this is asked. */
#if defined(_UCRT) || defined(_MSC_VER)
#define VTCLASS_UNIVERSAL_CRT 1
#else
#define VTCLASS_UNIVERSAL_CRT 0
#endif

#endif
