#ifndef VTCLUSTER_CLUSTER_HEADERS_H
#define VTCLUSTER_CLUSTER_HEADERS_H

#include <vtclass/win32.h>

/* The one place that includes the headers of the failover-cluster API. Those of mingw-w64 define
 * several types twice for system versions from 6.0 on; all that is used here is older. */
#if defined(__MINGW32__)
#pragma push_macro("_WIN32_WINNT")
// NOLINTBEGIN(clang-diagnostic-reserved-macro-identifier): the system's own
#undef _WIN32_WINNT
#define _WIN32_WINNT 0x0502
// NOLINTEND(clang-diagnostic-reserved-macro-identifier)
#endif
// clang-format off
#include <clusapi.h>
#if defined(__MINGW32__)
using PCLUSPROP_FILETIME = struct CLUSPROP_FILETIME*; /* named, not used, by resapi.h */
#endif
#include <resapi.h>
// clang-format on
#if defined(__MINGW32__)
#pragma pop_macro("_WIN32_WINNT")
#endif

#endif
