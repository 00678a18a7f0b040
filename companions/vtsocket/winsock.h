#ifndef VTSOCKET_WINSOCK_H
#define VTSOCKET_WINSOCK_H

#include <vtclass/win32.h>

#include <ws2tcpip.h>

namespace vtclass::vtsocket {

/*
 * The system's resolver, bound at the first call: a process that never looks a host up loads no
 * Winsock. Winsock itself is started once and stays started until the process ends: a clean-up
 * would have to run while the DLL is unloaded, where Winsock forbids it, or under the feet of a
 * thread that still resolves.
 */

/* Starts Winsock unless that has been done; 0, or Winsock's code. */
int StartWinsock();

/* The contract of getaddrinfo; also clears `*result` on failure. WSASYSNOTREADY where there is no
 * resolver. */
int GetAddrInfo(const char* node, const char* service, const addrinfo* hints, addrinfo** result);

/* Null is let pass. */
void FreeAddrInfo(addrinfo* list);

/* Where the traces go, see VTSock_SetZPrintf; null while nobody listens. */
using TracePrint = void (*)(const char* format, ...);
void SetTracePrint(TracePrint print);
TracePrint GetTracePrint();

/* One line, without a line feed. */
template <typename... Arguments>
void Trace(const char* format, Arguments... arguments) {
  if (const TracePrint print = GetTracePrint()) print(format, arguments...);
}

}  // namespace vtclass::vtsocket

#endif
