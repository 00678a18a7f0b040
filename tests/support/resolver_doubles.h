#ifndef VTCLASS_TESTS_SUPPORT_RESOLVER_DOUBLES_H
#define VTCLASS_TESTS_SUPPORT_RESOLVER_DOUBLES_H

#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <iphlpapi.h>
#include <ws2tcpip.h>

#include <atomic>
#include <bit>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "platform/owned.h"
#include "tests/support/eventually.h"
#include "tests/support/import_hook.h"
#include "vtsocket/vtsocket.h"

/* What the sockets library stands on, played: resolver, adapters, threads, memory and clock. */
namespace vtclass::test {

using platform::OwnedKernelObject;
using VTSocket::VTIPAddress;

// The resolver that the library finds ---------------------------------------------------------

// Names that begin with "hang" are answered when `release` is set, those that end with "none" are
// unknown, every other one has an address.
struct Resolver {
  OwnedKernelObject release{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  std::atomic<int> asked{0}, failed{0}, answered{0}, taken{0}, freed{0};
  std::atomic<int> running{0}, most{0};  // at once
  std::atomic<DWORD> thread{0};
  std::string question;  // node, service and flags
};
inline Resolver* resolver;

inline int WSAAPI FakeGetAddrInfo(const char* node, const char* service, const addrinfo* hints,
                                  addrinfo** result) {
  ++resolver->asked;
  resolver->thread = ::GetCurrentThreadId();
  const std::string name = node ? node : "";
  if (name.starts_with("hang")) {
    const int running = ++resolver->running;
    for (int most = resolver->most; running > most;)
      resolver->most.compare_exchange_weak(most, running);
    ::WaitForSingleObject(resolver->release.Get(), INFINITE);
    --resolver->running;
  } else {
    resolver->question = name + (service ? std::string("/") + service : "") +
                         (hints ? "/" + std::to_string(hints->ai_flags) : "");
  }
  if (name.ends_with("none")) {
    ++resolver->failed;
    return WSAHOST_NOT_FOUND;
  }
  const int error = ::getaddrinfo("10.1.2.3", nullptr, nullptr, result);
  ++resolver->answered;
  return error;
}

inline void WSAAPI FakeFreeAddrInfo(addrinfo* list) {
  ::freeaddrinfo(list);
  ++resolver->freed;
}

// The adapters that the library finds ---------------------------------------------------------

struct Adapters {
  ULONG error = NO_ERROR;
  int calls = 0;
  // Address texts; "!" before one that another machine has.
  std::vector<std::wstring> addresses;
};
inline Adapters adapters;

inline ULONG WINAPI FakeGetAdaptersAddresses(ULONG, ULONG, void*, IP_ADAPTER_ADDRESSES* list,
                                             ULONG* size) {
  ++adapters.calls;
  if (adapters.error != NO_ERROR) return adapters.error;
  struct One {
    IP_ADAPTER_ADDRESSES adapter;
    IP_ADAPTER_UNICAST_ADDRESS own;
    sockaddr_storage address;
  };
  // More than the library expects at first, as with a machine of many adapters.
  const auto needed = static_cast<ULONG>(20'000 + sizeof(One) * adapters.addresses.size());
  if (std::exchange(*size, needed) < needed) return ERROR_BUFFER_OVERFLOW;
  One* one = reinterpret_cast<One*>(list);
  memset(one, 0, needed);
  for (const std::wstring& text : adapters.addresses) {
    const bool isForeign = text[0] == L'!';
    VTIPAddress::CreateIPAddress(text.c_str() + isForeign)->GetSocketAddress(one->address, 0);
    one->own.Address.lpSockaddr = reinterpret_cast<sockaddr*>(&one->address);
    one->own.DadState = isForeign ? IpDadStateDuplicate : IpDadStatePreferred;
    one->adapter.FirstUnicastAddress = &one->own;
    if (&text != &adapters.addresses.back()) one->adapter.Next = &one[1].adapter;
    ++one;
  }
  return NO_ERROR;
}

inline std::atomic<int> winsockStarts{0};
inline int WSAAPI CountedWSAStartup(WORD version, WSADATA* data) {
  ++winsockStarts;
  return ::WSAStartup(version, data);
}

inline FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
  if (strcmp(name, "WSAStartup") == 0) return std::bit_cast<FARPROC>(&CountedWSAStartup);
  if (strcmp(name, "getaddrinfo") == 0) return std::bit_cast<FARPROC>(&FakeGetAddrInfo);
  if (strcmp(name, "freeaddrinfo") == 0) return std::bit_cast<FARPROC>(&FakeFreeAddrInfo);
  if (strcmp(name, "GetAdaptersAddresses") == 0)
    return std::bit_cast<FARPROC>(&FakeGetAdaptersAddresses);
  return ::GetProcAddress(module, name);
}

// What the library takes from the system ------------------------------------------------------

inline std::atomic<int> threadsStarted{0}, handlesClosed{0}, blocks{0};
inline std::atomic<bool> refuseThreads{false}, refuseMemory{false};
inline std::atomic<int> refused{0}, refusedAtOnce{0};

// A thread that dies at one of its system calls, the first, the second, ...
struct Victim {
  std::atomic<DWORD> thread{0};
  std::atomic<int> callsLeft{0};
  OwnedKernelObject stopped{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};

  void Pass() {
    if (thread != ::GetCurrentThreadId() || --callsLeft != 0) return;
    ::SetEvent(stopped.Get());
    ::Sleep(INFINITE);
  }
};
inline Victim* victim;

inline void Pass() {
  if (victim) victim->Pass();
}

inline std::vector<OwnedKernelObject>* keptThreads;

inline HANDLE WINAPI CountedCreateThread(SECURITY_ATTRIBUTES* attributes, SIZE_T stack,
                                         LPTHREAD_START_ROUTINE start, void* argument, DWORD flags,
                                         DWORD* id) {
  Pass();
  if (refuseThreads) {
    ++refused;
    Eventually([] { return refused >= refusedAtOnce; });
    ::SetLastError(ERROR_MAX_THRDS_REACHED);
    return nullptr;
  }
  ++threadsStarted;
  const HANDLE thread = ::CreateThread(attributes, stack, start, argument, flags, id);
  HANDLE kept = nullptr;
  if (keptThreads && ::DuplicateHandle(::GetCurrentProcess(), thread, ::GetCurrentProcess(), &kept,
                                       SYNCHRONIZE, FALSE, 0))
    keptThreads->emplace_back(kept);
  return thread;
}
inline BOOL WINAPI CountedCloseHandle(HANDLE handle) {
  Pass();
  ++handlesClosed;
  return ::CloseHandle(handle);
}
inline HANDLE WINAPI PassedCreateEvent(SECURITY_ATTRIBUTES* attributes, BOOL manual, BOOL initial,
                                       LPCWSTR name) {
  Pass();
  return ::CreateEventW(attributes, manual, initial, name);
}
inline BOOL WINAPI PassedReleaseSemaphore(HANDLE semaphore, LONG count, LONG* before) {
  Pass();
  return ::ReleaseSemaphore(semaphore, count, before);
}
inline void* CountedMalloc(size_t size) {
  // Once: throwing the error takes memory too.
  if (refuseMemory.exchange(false)) return nullptr;
  ++blocks;
  return malloc(size);
}
inline void CountedFree(void* block) {
  if (block) --blocks;
  free(block);
}

// The library's clock; 0: the system's. While it stands still, waits for an answer end at once and
// their time passes on it.
inline std::atomic<ULONGLONG> stoppedClock{0};
inline std::vector<DWORD> waits;
inline std::atomic<int> waiting{0};  // callers
// How long the library's threads wait for work, and how long they do so here.
inline constexpr DWORD kIdle = 2000;
inline std::atomic<DWORD> idleHere{20};

// A caller with this limit reaches it when he is told to: the time passes for all at once.
inline constexpr int kGivenUp = 30'000;
inline std::atomic<ULONGLONG> passed{0};
inline HANDLE giveUp;

inline ULONGLONG WINAPI ReadClock() {
  Pass();  // also with the lock in the victim's hand
  const ULONGLONG time = stoppedClock;
  return time != 0 ? time : ::GetTickCount64() + passed;
}

inline DWORD WINAPI Wait(HANDLE handle, DWORD milliseconds) {
  Pass();
  if (milliseconds == kIdle) return ::WaitForSingleObject(handle, idleHere);
  // A look at the lock's holder is no caller's wait.
  if (milliseconds == 0) return ::WaitForSingleObject(handle, 0);
  if (stoppedClock != 0) {
    waits.push_back(milliseconds);
    stoppedClock += milliseconds;
    return WAIT_TIMEOUT;
  }
  ++waiting;
  const HANDLE either[] = {handle, giveUp};
  const DWORD count = milliseconds <= kGivenUp && milliseconds > kGivenUp / 2 ? 2 : 1;
  const DWORD result = ::WaitForMultipleObjects(count, either, FALSE, milliseconds);
  --waiting;
  if (result != WAIT_OBJECT_0 + 1) return result;
  passed += kGivenUp;
  return WAIT_TIMEOUT;
}

inline timeval Limit(int milliseconds) { return {0, milliseconds * 1000}; }
inline constexpr int kLong = 2'000'000;
inline constexpr int kEnough = 10'000;  // not long enough to be given up

// What stands between a library and the system.
struct Hooks {
  explicit Hooks(HMODULE library) : library(library) {}

  HMODULE library;
  ImportHook<decltype(::GetProcAddress)> getProcAddress{"KERNEL32.dll", "GetProcAddress", &LookUp,
                                                        library};
  ImportHook<decltype(::CreateThread)> createThread{"KERNEL32.dll", "CreateThread",
                                                    &CountedCreateThread, library};
  ImportHook<decltype(::CreateEventW)> createEvent{"KERNEL32.dll", "CreateEventW",
                                                   &PassedCreateEvent, library};
  ImportHook<decltype(::ReleaseSemaphore)> releaseSemaphore{"KERNEL32.dll", "ReleaseSemaphore",
                                                            &PassedReleaseSemaphore, library};
  ImportHook<decltype(::WaitForSingleObject)> wait{"KERNEL32.dll", "WaitForSingleObject", &Wait,
                                                   library};
  ImportHook<decltype(::GetTickCount64)> clock{"KERNEL32.dll", "GetTickCount64", &ReadClock,
                                               library};
  ImportHook<decltype(::CloseHandle)> closeHandle{"KERNEL32.dll", "CloseHandle",
                                                  &CountedCloseHandle, library};
  ImportHook<decltype(malloc)> mallocHook{nullptr, "malloc", &CountedMalloc, library};
  ImportHook<decltype(free)> freeHook{nullptr, "free", &CountedFree, library};
};

}  // namespace vtclass::test

#endif
