#include <cstring>
#include <memory>

#include "companions/vtsocket/look_up_pool.h"
#include "companions/vtsocket/winsock.h"
#include "platform/no_throw.h"
#include "vtsocket/vtsocket.h"

namespace VTSocket {
namespace {

using namespace vtclass::vtsocket;

// Whether the resolver answers from its own tables, so that a thread and a limit are not needed.
bool AsksNobody(const char* node, const addrinfo* hints) {
  if (!node || (hints && (hints->ai_flags & AI_NUMERICHOST))) return true;
  // Resolvers differ in the scope ids that they take as a part of an address.
  return VTIPAddress::IsIPAddress(node) && !std::strchr(node, '%');
}

// Begun milliseconds count. The microseconds may be any number, above a million too.
ULONGLONG Milliseconds(const timeval& time) {
  const long long microseconds = time.tv_sec * 1'000'000LL + time.tv_usec;
  return microseconds <= 0 ? 0 : static_cast<ULONGLONG>((microseconds + 999) / 1000);
}

int Ask(const char* node, const char* service, const addrinfo* hints, addrinfo** result,
        ULONGLONG limit) {
  if (limit == 0) return WSAETIMEDOUT;
  return vtclass::platform::StatusOf([&] {
    return lookUpPool.Ask(std::make_unique<LookUp>(node, service, hints), limit, result);
  });
}

}  // namespace

int GetAddrInfoWithTimeOut(const char* node, const char* service, const addrinfo* hints,
                           addrinfo** result, const timeval* timeout) {
  if (!result) {
    ::SetLastError(WSAEFAULT);
    return WSAEFAULT;
  }
  *result = nullptr;
  if (!timeout || AsksNobody(node, hints)) return GetAddrInfo(node, service, hints, result);
  const int error = Ask(node, service, hints, result, Milliseconds(*timeout));
  if (error == WSAETIMEDOUT) Trace("The look-up of \"%s\" timed out", node);
  // The resolver left its code on another thread; Winsock keeps it where the system does.
  if (error != 0) ::SetLastError(static_cast<DWORD>(error));
  return error;
}

}  // namespace VTSocket
