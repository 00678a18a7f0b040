#include "companions/vtsocket/winsock.h"

#include <atomic>

#include "platform/bound_function.h"

namespace vtclass::vtsocket {
namespace {

using platform::BoundFunction;

constinit BoundFunction<decltype(::WSAStartup)> wsaStartup(L"ws2_32.dll", "WSAStartup",
                                                           WSASYSNOTREADY);
constinit BoundFunction<decltype(::getaddrinfo)> getAddrInfo(L"ws2_32.dll", "getaddrinfo",
                                                             WSASYSNOTREADY);
constinit BoundFunction<decltype(::freeaddrinfo)> freeAddrInfo(L"ws2_32.dll", "freeaddrinfo",
                                                               nullptr);

constinit std::atomic<bool> started{false};
constinit std::atomic<TracePrint> tracePrint{nullptr};

}  // namespace

int StartWinsock() {
  if (started.load(std::memory_order_acquire)) return 0;
  WSADATA data{};
  // Two threads may both start it: Winsock counts.
  const int error = wsaStartup(MAKEWORD(2, 2), &data);
  if (error == 0) started.store(true, std::memory_order_release);
  return error;
}

int GetAddrInfo(const char* node, const char* service, const addrinfo* hints, addrinfo** result) {
  *result = nullptr;
  int error = StartWinsock();
  if (error == 0) error = getAddrInfo(node, service, hints, result);
  if (error != 0) *result = nullptr;
  return error;
}

void FreeAddrInfo(addrinfo* list) {
  if (list) freeAddrInfo(list);
}

void SetTracePrint(TracePrint print) { tracePrint.store(print, std::memory_order_release); }

TracePrint GetTracePrint() { return tracePrint.load(std::memory_order_acquire); }

}  // namespace vtclass::vtsocket
