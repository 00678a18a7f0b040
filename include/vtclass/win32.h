#ifndef VTCLASS_WIN32_H
#define VTCLASS_WIN32_H

/*
 * The one place where the library includes the Windows headers: winsock2.h must come before
 * windows.h, and the min and max macros must stay away.
 */
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
// clang-format off
#include <winsock2.h>
#include <windows.h>
// clang-format on

#endif
