#include "net/resolver.h"

#include <atomic>
#include <bit>
#include <cstring>
#include <cwchar>
#include <string>

#include "platform/bound_function.h"
#include "platform/meant_call.h"

namespace vtclass::net {

namespace {

VTCLASS_MEANT_BEGIN  // for systems that have nothing newer
constinit platform::BoundFunction<decltype(::gethostbyaddr)> hostByAddress(L"ws2_32.dll",
                                                                           "gethostbyaddr",
                                                                           nullptr);
VTCLASS_MEANT_END

// getnameinfo of a system that has none: IPv4, and the host's name only.
int WSAAPI OldNameInfo(const sockaddr* address, socklen_t, char* host, DWORD hostRoom, char*, DWORD,
                       int) {
  if (address->sa_family != AF_INET) return WSAEAFNOSUPPORT;
  in_addr ipv4 = {};
  std::memcpy(&ipv4, &reinterpret_cast<const sockaddr_in*>(address)->sin_addr, sizeof(ipv4));
  const hostent* const found =
      hostByAddress(reinterpret_cast<const char*>(&ipv4), sizeof(ipv4), AF_INET);
  if (!found || !found->h_name) return WSAHOST_NOT_FOUND;
  const std::size_t length = std::strlen(found->h_name);
  if (length >= hostRoom) return WSAEFAULT;
  std::memcpy(host, found->h_name, length + 1);
  return 0;
}

// A system without freeaddrinfo has no getaddrinfo either, and so there is no list to release.
void WSAAPI OldFreeList(addrinfo*) {}

// `name` in the system folder, with getaddrinfo. It stays loaded.
HMODULE LibraryWithResolver(const wchar_t* name) noexcept {
  wchar_t path[MAX_PATH + 16];
  const UINT length = ::GetSystemDirectoryW(path, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return nullptr;
  std::wmemcpy(path + length, name, std::wcslen(name) + 1);
  const HMODULE library = ::LoadLibraryW(path);
  if (!library || ::GetProcAddress(library, "getaddrinfo")) return library;
  ::FreeLibrary(library);
  return nullptr;
}

}  // namespace

ResolverFunctions LoadResolver() noexcept {
  ResolverFunctions functions = {&OldNameInfo, &OldFreeList};
  HMODULE library = LibraryWithResolver(L"\\ws2_32");
  if (!library) library = LibraryWithResolver(L"\\wship6");
  if (!library) return functions;
  const auto nameInfo =
      std::bit_cast<decltype(functions.nameInfo)>(::GetProcAddress(library, "getnameinfo"));
  const auto freeList =
      std::bit_cast<decltype(functions.freeList)>(::GetProcAddress(library, "freeaddrinfo"));
  if (nameInfo && freeList) functions = {nameInfo, freeList};
  return functions;
}

// Two threads that come first find the same functions. No static object that the compiler guards: a
// thread that is killed in its construction would block the others for good.
ResolverFunctions Resolver() noexcept {
  static constinit std::atomic<decltype(ResolverFunctions::nameInfo)> nameInfo{nullptr};
  static constinit std::atomic<decltype(ResolverFunctions::freeList)> freeList{nullptr};
  const ResolverFunctions known = {nameInfo.load(std::memory_order_acquire), freeList.load()};
  if (known.nameInfo) return known;
  const ResolverFunctions found = LoadResolver();
  freeList.store(found.freeList);
  nameInfo.store(found.nameInfo, std::memory_order_release);
  return found;
}

unsigned long HostNameOf(const VTSocket::VTIPAddress& address, wcstring& host) {
  sockaddr_storage storage = {};
  address.GetSocketAddress(storage, 0);
  const socklen_t length =
      storage.ss_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
  char name[NI_MAXHOST] = {};
  // The thread's Winsock error is its last error. Not every system sets it where this call fails,
  // and an older one must not be taken for the cause.
  ::SetLastError(ERROR_SUCCESS);
  if (Resolver().nameInfo(reinterpret_cast<const sockaddr*>(&storage), length, name, sizeof(name),
                          nullptr, 0, NI_NAMEREQD) == 0) {
    host.assign(name, std::strlen(name), cstring::acp);
    return ERROR_SUCCESS;
  }
  const DWORD error = ::GetLastError();
  return error != ERROR_SUCCESS ? error : WSAHOST_NOT_FOUND;
}

}  // namespace vtclass::net
