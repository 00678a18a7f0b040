#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <iphlpapi.h>
#include <ws2tcpip.h>

#include <atomic>
#include <bit>
#include <cstdarg>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/owned.h"
#include "tests/support/answered_look_ups.h"
#include "tests/support/import_hook.h"
#include "tests/support/scratch_folder.h"
#include "vtsocket/vtsocket.h"

namespace {

using namespace VTSocket;
using vtclass::platform::OwnedKernelObject;
using vtclass::test::ImportHook;

// The resolver that the library finds ---------------------------------------------------------

/* Names that begin with "hang" are answered when `release` is set, "none" is unknown, every other
 * one has an address. */
struct Resolver {
  OwnedKernelObject release{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  std::atomic<int> asked{0}, failed{0}, answered{0}, taken{0}, freed{0};
  std::atomic<DWORD> thread{0};
  std::string question;  // node, service and flags
};
Resolver* resolver;

int WSAAPI FakeGetAddrInfo(const char* node, const char* service, const addrinfo* hints,
                           addrinfo** result) {
  ++resolver->asked;
  resolver->thread = ::GetCurrentThreadId();
  const std::string name = node ? node : "";
  if (name.starts_with("hang")) {
    ::WaitForSingleObject(resolver->release.Get(), INFINITE);
  } else {
    resolver->question = name + (service ? std::string("/") + service : "") +
                         (hints ? "/" + std::to_string(hints->ai_flags) : "");
  }
  if (name == "none") {
    ++resolver->failed;
    return WSAHOST_NOT_FOUND;
  }
  ::getaddrinfo("10.1.2.3", nullptr, nullptr, result);
  ++resolver->answered;
  return 0;
}

void WSAAPI FakeFreeAddrInfo(addrinfo* list) {
  ::freeaddrinfo(list);
  ++resolver->freed;
}

// The adapters that the library finds ---------------------------------------------------------

struct Adapters {
  ULONG error = NO_ERROR;
  /* Address texts; "!" before one that another machine has. */
  std::vector<std::wstring> addresses;
};
Adapters adapters;

ULONG WINAPI FakeGetAdaptersAddresses(ULONG, ULONG, void*, IP_ADAPTER_ADDRESSES* list,
                                      ULONG* size) {
  if (adapters.error != NO_ERROR) return adapters.error;
  struct One {
    IP_ADAPTER_ADDRESSES adapter;
    IP_ADAPTER_UNICAST_ADDRESS own;
    sockaddr_storage address;
  };
  // The first answer is always that the buffer is too small, as with a machine of many adapters.
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

std::atomic<int> winsockStarts{0};
int WSAAPI CountedWSAStartup(WORD version, WSADATA* data) {
  ++winsockStarts;
  return ::WSAStartup(version, data);
}

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
  if (strcmp(name, "WSAStartup") == 0) return std::bit_cast<FARPROC>(&CountedWSAStartup);
  if (strcmp(name, "getaddrinfo") == 0) return std::bit_cast<FARPROC>(&FakeGetAddrInfo);
  if (strcmp(name, "freeaddrinfo") == 0) return std::bit_cast<FARPROC>(&FakeFreeAddrInfo);
  if (strcmp(name, "GetAdaptersAddresses") == 0)
    return std::bit_cast<FARPROC>(&FakeGetAdaptersAddresses);
  return ::GetProcAddress(module, name);
}

[[maybe_unused]] auto* const lookUps = vtclass::test::AnswerLookUps(&LookUp, L"vtsocket.dll");

// What the library takes from the system ------------------------------------------------------

std::atomic<int> threadsStarted{0}, handlesClosed{0}, blocks{0};
std::atomic<bool> refuseThreads{false}, refuseMemory{false};

HANDLE WINAPI CountedCreateThread(SECURITY_ATTRIBUTES* attributes, SIZE_T stack,
                                  LPTHREAD_START_ROUTINE start, void* argument, DWORD flags,
                                  DWORD* id) {
  if (refuseThreads) {
    ::SetLastError(ERROR_MAX_THRDS_REACHED);
    return nullptr;
  }
  ++threadsStarted;
  return ::CreateThread(attributes, stack, start, argument, flags, id);
}
BOOL WINAPI CountedCloseHandle(HANDLE handle) {
  ++handlesClosed;
  return ::CloseHandle(handle);
}
void* CountedMalloc(size_t size) {
  // Once: throwing the error takes memory too.
  if (refuseMemory.exchange(false)) return nullptr;
  ++blocks;
  return malloc(size);
}
void CountedFree(void* block) {
  if (block) --blocks;
  free(block);
}

bool Eventually(const std::function<bool()>& holds) {
  for (const ULONGLONG end = ::GetTickCount64() + 20'000; !holds(); ::Sleep(1))
    if (::GetTickCount64() > end) return false;
  return true;
}

timeval Limit(int milliseconds) { return {0, milliseconds * 1000}; }

class GetAddrInfoWithTimeOut : public ::testing::Test {
 protected:
  GetAddrInfoWithTimeOut() { resolver = &fake; }
  ~GetAddrInfoWithTimeOut() override {
    ::SetEvent(fake.release.Get());
    EXPECT_TRUE(Eventually([&] {
      return fake.asked == fake.failed + fake.answered && fake.answered == fake.taken + fake.freed;
    })) << "a look-up has not come to its end";
  }

  int Ask(const char* node, std::optional<timeval> limit, const char* service = nullptr,
          const addrinfo* hints = nullptr) {
    addrinfo* list = std::bit_cast<addrinfo*>(std::uintptr_t{1});
    const int error =
        VTSocket::GetAddrInfoWithTimeOut(node, service, hints, &list, limit ? &*limit : nullptr);
    EXPECT_EQ(list != nullptr, error == 0);
    if (list) {
      ::freeaddrinfo(list);
      ++fake.taken;
    }
    return error;
  }

  Resolver fake;
  HMODULE library = ::GetModuleHandleW(L"vtsocket.dll");
  ImportHook<decltype(::CreateThread)> createThread{"KERNEL32.dll", "CreateThread",
                                                    &CountedCreateThread, library};
  ImportHook<decltype(::CloseHandle)> closeHandle{"KERNEL32.dll", "CloseHandle",
                                                  &CountedCloseHandle, library};
  ImportHook<decltype(malloc)> mallocHook{"msvcrt.dll", "malloc", &CountedMalloc, library};
  ImportHook<decltype(free)> freeHook{"msvcrt.dll", "free", &CountedFree, library};
};

TEST_F(GetAddrInfoWithTimeOut, NoThread_IsAnErrorAndAnotherCallsThreadServes) {
  if (threadsStarted > 0) GTEST_SKIP() << "An earlier test has left a thread; run this one alone";
  refuseThreads = true;
  EXPECT_EQ(Ask("host", Limit(60'000)), WSA_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(WSA_NOT_ENOUGH_MEMORY));
  refuseThreads = false;
  EXPECT_EQ(Ask("hang", Limit(1)), WSAETIMEDOUT);
  refuseThreads = true;
  std::thread second([&] { EXPECT_EQ(Ask("host", Limit(60'000)), 0); });
  ::SetEvent(fake.release.Get());
  second.join();
  refuseThreads = false;
  refuseMemory = true;
  EXPECT_EQ(Ask("host", Limit(60'000)), WSA_NOT_ENOUGH_MEMORY);
}

TEST_F(GetAddrInfoWithTimeOut, AnswersAndErrors_AreTheResolvers) {
  const timeval limit = Limit(60'000);
  addrinfo hints{};
  hints.ai_flags = AI_CANONNAME;
  ASSERT_EQ(Ask("host", limit, "80", &hints), 0);
  EXPECT_EQ(fake.question, "host/80/2");
  EXPECT_NE(fake.thread, ::GetCurrentThreadId());
  EXPECT_EQ(Ask("none", limit), WSAHOST_NOT_FOUND);
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(WSAHOST_NOT_FOUND));
  EXPECT_EQ(fake.question, "none");
  EXPECT_EQ(VTSocket::GetAddrInfoWithTimeOut("host", nullptr, nullptr, nullptr, &limit), WSAEFAULT);
}

TEST_F(GetAddrInfoWithTimeOut, WhatAsksNobody_RunsOnTheCallersThread) {
  for (const char* node : {"127.0.0.1", "::1", static_cast<const char*>(nullptr), "host"}) {
    const bool isHost = node && *node == 'h';
    EXPECT_EQ(Ask(node, isHost ? std::nullopt : std::optional(Limit(0))), 0);
    EXPECT_EQ(fake.thread.exchange(0), ::GetCurrentThreadId());
  }
}

TEST_F(GetAddrInfoWithTimeOut, Limit_IsTheSumOfBothFields) {
  for (const timeval none : {timeval{0, 0}, timeval{-1, 0}, timeval{1, -1'000'000}})
    EXPECT_EQ(Ask("hang", none), WSAETIMEDOUT);
  EXPECT_EQ(fake.asked, 0);
  // Each is over at once if a field is left out or taken modulo a million.
  for (const timeval limit : {timeval{0, 1'001'000}, timeval{1, 0}}) {
    const ULONGLONG start = ::GetTickCount64();
    EXPECT_EQ(Ask("hang", limit), WSAETIMEDOUT);
    EXPECT_GE(::GetTickCount64() - start, 1000u);
  }
  EXPECT_EQ(Ask("host", timeval{LONG_MAX, LONG_MAX}), 0);
}

TEST_F(GetAddrInfoWithTimeOut, AThousandHungCalls_LeakNothingAndStartFewThreads) {
  const int started = threadsStarted, closed = handlesClosed, heap = blocks;
  std::vector<std::thread> callers;
  for (int caller = 0; caller < 25; ++caller)
    callers.emplace_back([this] {
      for (int call = 0; call < 40; ++call)
        EXPECT_EQ(Ask("hang, and have a name that no short string holds", Limit(5)), WSAETIMEDOUT);
    });
  for (auto& caller : callers) caller.join();
  EXPECT_LE(threadsStarted - started, 16);
  EXPECT_EQ(handlesClosed - closed, threadsStarted - started);
  EXPECT_LE(fake.asked, 16) << "a call that was given up was still in the queue";
  EXPECT_EQ(fake.freed, 0);
  ::SetEvent(fake.release.Get());
  EXPECT_TRUE(Eventually([&] { return blocks == heap; })) << blocks - heap;
  EXPECT_EQ(fake.freed, fake.asked);
  EXPECT_EQ(Ask("host", Limit(60'000)), 0) << "the threads serve again";
}

// Each call runs into its limit about when its answer comes.
TEST_F(GetAddrInfoWithTimeOut, AnswersThatRaceTheLimit_AreTakenOrFreedOnce) {
  const int heap = blocks;
  std::atomic<int> running{4};
  std::vector<std::thread> callers;
  for (int caller = 0; caller < 4; ++caller)
    callers.emplace_back([&] {
      for (int call = 0; call < 50; ++call) Ask("hang", Limit(1 + call % 3));
      --running;
    });
  for (; running > 0; ::Sleep(1)) ::PulseEvent(fake.release.Get());
  for (auto& caller : callers) caller.join();
  ::SetEvent(fake.release.Get());
  EXPECT_TRUE(Eventually([&] { return blocks == heap; })) << blocks - heap;
}

// The copy has no other user, so that freeing it unloads it as soon as nothing runs in it.
TEST_F(GetAddrInfoWithTimeOut, FreedLibrary_StaysUntilTheResolverReturns) {
  vtclass::test::ScratchFolder folder;
  wchar_t path[MAX_PATH];
  ::GetModuleFileNameW(library, path, MAX_PATH);
  const std::wstring copy = folder / L"copy_of_vtsocket.dll";
  ASSERT_TRUE(::CopyFileW(path, copy.c_str(), FALSE));
  const HMODULE module = ::LoadLibraryW(copy.c_str());
  {
    ImportHook<decltype(::GetProcAddress)> hook("KERNEL32.dll", "GetProcAddress", &LookUp, module);
    // Both images are the same, so the function lies in the same place.
    const auto offset = std::bit_cast<std::uintptr_t>(&VTSocket::GetAddrInfoWithTimeOut) -
                        std::bit_cast<std::uintptr_t>(library);
    const auto ask = std::bit_cast<decltype(&VTSocket::GetAddrInfoWithTimeOut)>(
        std::bit_cast<std::uintptr_t>(module) + offset);
    // Long enough for the first thread to start: a question that no thread has taken is withdrawn.
    const timeval limit = Limit(1000);
    addrinfo* list = nullptr;
    EXPECT_EQ(ask("hang", nullptr, nullptr, &list, &limit), WSAETIMEDOUT);
    ASSERT_EQ(fake.asked, 1);
    EXPECT_TRUE(::FreeLibrary(module));
    EXPECT_NE(::GetModuleHandleW(L"copy_of_vtsocket.dll"), nullptr);
    ::SetEvent(fake.release.Get());
    EXPECT_TRUE(Eventually([&] { return fake.freed == 1; }));
    // The hook goes while the thread still waits for more work.
  }
  EXPECT_TRUE(Eventually([] { return !::GetModuleHandleW(L"copy_of_vtsocket.dll"); }));
}

class VTDnsResolver : public GetAddrInfoWithTimeOut {
 protected:
  ~VTDnsResolver() override { adapters = {}; }

  // The addresses of this machine, or the error.
  static std::wstring Local(AddressFamily family = AddressFamily::Any) {
    std::wstring texts;
    try {
      const auto host = VTSocket::VTDnsResolver::GetHostByName("..localmachine");
      const auto each = host->GetAddressEnumerator(family);
      EXPECT_FALSE(each->GetAddress());
      while (each->MoveNext()) texts += each->GetAddress()->ToString() + L" ";
      EXPECT_FALSE(each->GetAddress());
      EXPECT_FALSE(each->MoveNext());
      each->Reset();
      EXPECT_TRUE(each->MoveNext());
    } catch (const VTSocketError& error) {
      return std::to_wstring(error.GetErrorCode());
    }
    return texts;
  }
};

std::string traced;
void KeepTrace(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  traced += std::string(format) + va_arg(arguments, const char*);
  va_end(arguments);
}

TEST_F(VTDnsResolver, GetHostByName_HoldsTheResolversAnswerUntilItsLastUserIsGone) {
  auto host = VTSocket::VTDnsResolver::GetHostByName(nullptr);
  EXPECT_EQ(fake.question, "/0");
  EXPECT_TRUE(host->HasEntries());
  const auto each = host->GetAddressEnumerator(AddressFamily::IPv4);
  host = nullptr;
  EXPECT_EQ(fake.freed, 0);
  ASSERT_TRUE(each->MoveNext());
  EXPECT_EQ(each->GetAddress()->ToString(), L"10.1.2.3");
}

TEST_F(VTDnsResolver, GetHostByName_UnknownNameThrowsAndTraces) {
  for (const auto print : {&KeepTrace, static_cast<decltype(&KeepTrace)>(nullptr)}) {
    VTSock_SetZPrintf(print);
    EXPECT_THROW(VTSocket::VTDnsResolver::GetHostByName("none"), VTSocketError);
  }
  EXPECT_EQ(traced, "The host name \"%s\" cannot be resolved: %lunone");
}

TEST_F(VTDnsResolver, LocalMachine_ListsTheAdaptersOwnAddressesOnce) {
  adapters.addresses = {L"10.0.0.7", L"fe80::1%3", L"!10.0.0.8", L"fe80::1%4", L"127.0.0.1"};
  EXPECT_EQ(Local(), L"10.0.0.7 fe80::1%3 127.0.0.1 ::1 ");
  EXPECT_EQ(Local(AddressFamily::IPv6), L"fe80::1%3 ::1 ");
  EXPECT_GE(winsockStarts, 1) << "who asks for a name next needs it";
  adapters.error = ERROR_NO_DATA;
  EXPECT_EQ(Local(), L"127.0.0.1 ::1 ");
  adapters.error = ERROR_ACCESS_DENIED;
  EXPECT_EQ(Local(), L"5");
  EXPECT_EQ(SocketServices::GetProtocolOfChoice(), AddressFamily::IPv4);
}

TEST_F(VTDnsResolver, ProtocolOfChoice_IsIPv6WhereIPv4LeadsNowhere) {
  const auto choice = [](std::vector<std::wstring> addresses) {
    adapters.addresses = std::move(addresses);
    return SocketServices::GetProtocolOfChoice();
  };
  EXPECT_EQ(choice({L"2001:db8::1", L"10.0.0.7"}), AddressFamily::IPv4);
  EXPECT_EQ(choice({L"2001:db8::1", L"169.254.0.7", L"127.0.0.1"}), AddressFamily::IPv6);
  EXPECT_EQ(choice({L"fe80::1%3"}), AddressFamily::IPv4);
}

}  // namespace
