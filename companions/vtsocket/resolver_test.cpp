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
#include "tests/support/eventually.h"
#include "tests/support/import_hook.h"
#include "tests/support/library_copy.h"
#include "tests/support/wine.h"
#include "vtsocket/vtsocket.h"

namespace {

using namespace VTSocket;
using vtclass::platform::OwnedKernelObject;
using vtclass::test::Eventually;
using vtclass::test::ImportHook;
using vtclass::test::LibraryCopy;

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
Resolver* resolver;

int WSAAPI FakeGetAddrInfo(const char* node, const char* service, const addrinfo* hints,
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

void WSAAPI FakeFreeAddrInfo(addrinfo* list) {
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
Adapters adapters;

ULONG WINAPI FakeGetAdaptersAddresses(ULONG, ULONG, void*, IP_ADAPTER_ADDRESSES* list,
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
std::atomic<int> refused{0}, refusedAtOnce{0};

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
Victim* victim;

void Pass() {
  if (victim) victim->Pass();
}

std::vector<OwnedKernelObject>* keptThreads;

HANDLE WINAPI CountedCreateThread(SECURITY_ATTRIBUTES* attributes, SIZE_T stack,
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
BOOL WINAPI CountedCloseHandle(HANDLE handle) {
  Pass();
  ++handlesClosed;
  return ::CloseHandle(handle);
}
HANDLE WINAPI PassedCreateEvent(SECURITY_ATTRIBUTES* attributes, BOOL manual, BOOL initial,
                                LPCWSTR name) {
  Pass();
  return ::CreateEventW(attributes, manual, initial, name);
}
BOOL WINAPI PassedReleaseSemaphore(HANDLE semaphore, LONG count, LONG* before) {
  Pass();
  return ::ReleaseSemaphore(semaphore, count, before);
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

// The library's clock; 0: the system's. While it stands still, waits for an answer end at once and
// their time passes on it.
std::atomic<ULONGLONG> stoppedClock{0};
std::vector<DWORD> waits;
std::atomic<int> waiting{0};  // callers
// How long the library's threads wait for work, and how long they do so here.
constexpr DWORD kIdle = 2000;
std::atomic<DWORD> idleHere{20};

// A caller with this limit reaches it when he is told to: the time passes for all at once.
constexpr int kGivenUp = 30'000;
std::atomic<ULONGLONG> passed{0};
HANDLE giveUp;

ULONGLONG WINAPI ReadClock() {
  Pass();  // also with the lock in the victim's hand
  const ULONGLONG time = stoppedClock;
  return time != 0 ? time : ::GetTickCount64() + passed;
}

DWORD WINAPI Wait(HANDLE handle, DWORD milliseconds) {
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

timeval Limit(int milliseconds) { return {0, milliseconds * 1000}; }
constexpr int kLong = 2'000'000;
constexpr int kEnough = 10'000;  // not long enough to be given up

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
  ImportHook<decltype(malloc)> mallocHook{"msvcrt.dll", "malloc", &CountedMalloc, library};
  ImportHook<decltype(free)> freeHook{"msvcrt.dll", "free", &CountedFree, library};
};

// Each test has a library of its own, in which nothing has run.
class GetAddrInfoWithTimeOut : public ::testing::Test {
 protected:
  GetAddrInfoWithTimeOut() {
    resolver = &fake;
    giveUp = given.Get();
    threadsStarted = handlesClosed = refused = refusedAtOnce = 0;
    passed = 0;
  }
  ~GetAddrInfoWithTimeOut() override {
    ::SetEvent(fake.release.Get());
    Join();
    EXPECT_TRUE(Eventually([&] {
      return fake.asked == fake.failed + fake.answered && fake.answered == fake.taken + fake.freed;
    })) << "a look-up has not come to its end: "
        << fake.asked << fake.failed << fake.answered << fake.taken << fake.freed;
  }

  int Ask(const std::string& node, std::optional<timeval> limit, const char* service = nullptr,
          const addrinfo* hints = nullptr) {
    return AskNode(node.c_str(), limit, service, hints);
  }
  int AskNode(const char* node, std::optional<timeval> limit, const char* service = nullptr,
              const addrinfo* hints = nullptr) {
    auto* list = std::bit_cast<addrinfo*>(std::uintptr_t{1});
    const int error = copy(&VTSocket::GetAddrInfoWithTimeOut)(node, service, hints, &list,
                                                              limit ? &*limit : nullptr);
    EXPECT_EQ(list != nullptr, error == 0);
    if (list) {
      ::freeaddrinfo(list);
      ++fake.taken;
    }
    return error;
  }
  void Join() {
    for (auto& caller : callers) caller.join();
    callers.clear();
  }
  // On a thread of its own; the answer must be this one.
  void Start(const std::string& node, int milliseconds, int expected,
             const char* service = nullptr) {
    callers.emplace_back(
        [=, this] { EXPECT_EQ(Ask(node, Limit(milliseconds), service), expected) << node; });
  }
  // Callers of `count` silent names, who all wait.
  void StartSilent(int count, int milliseconds, int expected) {
    const int before = waiting;
    for (int name = 0; name < count; ++name) {
      Start("hang " + std::to_string(name), milliseconds, expected);
    }
    EXPECT_TRUE(Eventually([&] { return waiting == before + count; }));
  }

  Resolver fake;
  OwnedKernelObject given{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
  std::vector<std::thread> callers;
  LibraryCopy copy{L"vtsocket.dll"};
  Hooks hooks{copy.Module()};
};

TEST_F(GetAddrInfoWithTimeOut, NoThread_EveryCallerHearsItAtOnce) {
  refuseThreads = true;
  EXPECT_EQ(Ask("host", Limit(kLong)), WSA_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(WSA_NOT_ENOUGH_MEMORY));
  // Each one is refused while the others' threads may still start.
  refused = 0;
  refusedAtOnce = 4;
  for (const char* name : {"a", "b", "c", "d"}) Start(name, kLong, WSA_NOT_ENOUGH_MEMORY);
  EXPECT_TRUE(Eventually([] { return refused == 4; }));
  Join();
  refusedAtOnce = 0;
  // Those who wait for their turn hear it when the turn comes.
  refuseThreads = false;
  StartSilent(15, kLong, 0);
  Start("hang and give up", kGivenUp, WSAETIMEDOUT);
  EXPECT_TRUE(Eventually([&] { return fake.running == 16; }));
  for (const char* name : {"in turn", "in turn", "too"}) Start(name, kLong, WSA_NOT_ENOUGH_MEMORY);
  EXPECT_TRUE(Eventually([&] { return waiting == 19; }));
  refuseThreads = true;
  ::SetEvent(given.Get());
  EXPECT_TRUE(Eventually([&] { return waiting == 15; }));
  refuseThreads = false;
  refuseMemory = true;
  EXPECT_EQ(Ask("host", Limit(kLong)), WSA_NOT_ENOUGH_MEMORY);
}

TEST_F(GetAddrInfoWithTimeOut, AnswersAndErrors_AreTheResolvers) {
  const timeval limit = Limit(kLong);
  addrinfo hints{};
  hints.ai_flags = AI_CANONNAME;
  ASSERT_EQ(Ask("host", limit, "80", &hints), 0);
  EXPECT_EQ(fake.question, "host/80/2");
  EXPECT_NE(fake.thread, ::GetCurrentThreadId());
  EXPECT_EQ(Ask("none", limit), WSAHOST_NOT_FOUND);
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(WSAHOST_NOT_FOUND));
  EXPECT_EQ(fake.question, "none");
  EXPECT_EQ(copy(&VTSocket::GetAddrInfoWithTimeOut)("host", nullptr, nullptr, nullptr, &limit),
            WSAEFAULT);
}

TEST_F(GetAddrInfoWithTimeOut, WhatAsksNobody_RunsOnTheCallersThread) {
  for (const char* node : {"127.0.0.1", "::1", static_cast<const char*>(nullptr), "host"}) {
    const bool isHost = node && *node == 'h';
    EXPECT_EQ(AskNode(node, isHost ? std::nullopt : std::optional(Limit(0))), 0);
    EXPECT_EQ(fake.thread.exchange(0), ::GetCurrentThreadId());
  }
  EXPECT_EQ(AskNode("fe80::1%lo", Limit(kLong)), 0);
  EXPECT_NE(fake.thread.exchange(0), ::GetCurrentThreadId()) << "the scope is the resolver's";
}

TEST_F(GetAddrInfoWithTimeOut, Limit_IsTheSumOfBothFields) {
  for (const timeval none : {timeval{0, 0}, timeval{-1, 0}, timeval{1, -1'000'000}})
    EXPECT_EQ(Ask("hang", none), WSAETIMEDOUT);
  EXPECT_EQ(threadsStarted, 0);
  const struct {
    timeval limit;
    std::vector<DWORD> waits;
  } rows[] = {
      {{0, 1}, {1}},          {{0, 1'001'000}, {1001}},  {{1, 0}, {1000}},
      {{1, 500'001}, {1501}}, {{2, -1'000'000}, {1000}}, {{4'294'967, 296'000}, {INFINITE - 1, 2}}};
  for (const auto& row : rows) {
    waits.clear();
    stoppedClock = 1'000'000;
    EXPECT_EQ(Ask("hang", row.limit), WSAETIMEDOUT);
    EXPECT_EQ(waits, row.waits);
    stoppedClock = 0;
  }
  EXPECT_EQ(Ask("host", timeval{LONG_MAX, LONG_MAX}), 0);
}

TEST_F(GetAddrInfoWithTimeOut, AThousandHungCalls_LeakNothingAndShareOneThread) {
  const int heap = blocks;
  for (int caller = 0; caller < 25; ++caller)
    callers.emplace_back([this] {
      for (int call = 0; call < 40; ++call)
        EXPECT_EQ(Ask("hang, and have a name that no short string holds", Limit(5)), WSAETIMEDOUT);
    });
  Join();
  EXPECT_EQ(threadsStarted, 1);
  EXPECT_GE(handlesClosed, 999 + threadsStarted) << "more where the lock was found taken";
  EXPECT_EQ(fake.freed, 0);
  ::SetEvent(fake.release.Get());
  EXPECT_TRUE(Eventually([&] { return blocks == heap; })) << blocks - heap;
  EXPECT_EQ(fake.freed, fake.asked);
  EXPECT_EQ(Ask("host", Limit(kLong)), 0) << "the threads serve again";
}

TEST_F(GetAddrInfoWithTimeOut, SilentNames_LeaveRoomForOthers) {
  StartSilent(24, kLong, 0);
  EXPECT_TRUE(Eventually([&] { return fake.running == 16; }));
  EXPECT_EQ(fake.most, 16) << "those that somebody waits for";
  // A time-out gives the place to the next in turn; in the end all threads that there may be hang.
  ::SetEvent(fake.release.Get());
  Join();
  ::ResetEvent(fake.release.Get());
  for (int name = 0; name < 5000 && fake.running < 64; ++name)
    EXPECT_EQ(Ask("hang for " + std::to_string(name), Limit(2)), WSAETIMEDOUT);
  EXPECT_EQ(Ask("host", Limit(100)), WSAETIMEDOUT) << "a bound is a bound";
  EXPECT_EQ(fake.most, 64);
  Start("host", kLong, 0);
  EXPECT_TRUE(Eventually([&] { return waiting == 1; }));
  ::SetEvent(fake.release.Get());
}

TEST_F(GetAddrInfoWithTimeOut, SixteenSilentNames_DoNotStopAHealthyOne) {
  StartSilent(15, kLong, 0);
  Start("hang and give up", kGivenUp, WSAETIMEDOUT);
  EXPECT_TRUE(Eventually([&] { return fake.running == 16; }));
  Start("host", kLong, 0);
  EXPECT_TRUE(Eventually([&] { return waiting == 17; }));
  EXPECT_EQ(fake.running, fake.asked) << "it waits for its turn";
  ::SetEvent(given.Get());
  EXPECT_TRUE(Eventually([&] { return waiting == 15; }));
  EXPECT_EQ(fake.running, 16) << "answered while all of them are silent";
  // The one that timed out takes no thread again.
  const int asked = fake.asked;
  EXPECT_EQ(Ask("Hang And Give Up", Limit(1)), WSAETIMEDOUT);
  EXPECT_EQ(fake.asked, asked);
}

TEST_F(GetAddrInfoWithTimeOut, EqualNames_ShareALookUpAndItsFailure) {
  for (int caller = 0; caller < 5; ++caller)
    Start(caller % 2 ? "hang, A none" : "hang, a none", kLong, WSAHOST_NOT_FOUND);
  for (int caller = 0; caller < 3; ++caller) Start("hang, host", kLong, 0);
  for (const char* service : {"80", "81"}) {
    Start("hang, a none", kLong, WSAHOST_NOT_FOUND, service);
  }
  EXPECT_TRUE(Eventually([&] { return waiting == 10 && fake.running == 4; }));
  ::SetEvent(fake.release.Get());
  Join();
  EXPECT_EQ(fake.failed, 3);
  EXPECT_EQ(fake.taken, 3) << "each has a list of its own";
  EXPECT_EQ(fake.most, 4);
}

// A name that answers, however slowly, is not asked for by one caller after the other.
TEST_F(GetAddrInfoWithTimeOut, EqualNames_RunTogetherOnceTheNameHasAnswered) {
  for (int caller = 0; caller < 6; ++caller) Start("hang, host", kLong, 0);
  EXPECT_TRUE(Eventually([&] { return waiting == 6 && fake.running == 1; }));
  EXPECT_TRUE(Eventually([&] {
    if (fake.answered == 0) ::PulseEvent(fake.release.Get());
    return fake.running == 5;
  }));
  ::SetEvent(fake.release.Get());
  Join();
  EXPECT_EQ(fake.taken, 6);
}

TEST_F(GetAddrInfoWithTimeOut, IdleThread_ServesTheNext) {
  idleHere = INFINITE;  // until it is woken
  EXPECT_EQ(Ask("host", Limit(kEnough)), 0);
  EXPECT_EQ(Ask("none", Limit(kEnough)), WSAHOST_NOT_FOUND);
  idleHere = 20;
  EXPECT_EQ(Ask("host", Limit(kEnough)), 0);
  EXPECT_EQ(threadsStarted, 1);
}

// Each call runs into its limit about when its answer comes.
TEST_F(GetAddrInfoWithTimeOut, AnswersThatRaceTheLimit_AreTakenOrFreedOnce) {
  const int heap = blocks;
  std::atomic<int> running{4};
  for (int caller = 0; caller < 4; ++caller)
    callers.emplace_back([&, caller] {
      for (int call = 0; call < 50; ++call)
        Ask("hang " + std::to_string(caller % 2), Limit(1 + call % 3));
      --running;
    });
  for (; running > 0; ::Sleep(1)) ::PulseEvent(fake.release.Get());
  Join();
  ::SetEvent(fake.release.Get());
  EXPECT_TRUE(Eventually([&] { return blocks == heap; })) << blocks - heap;
}

// The copy has no other user, so that freeing it unloads it as soon as nothing runs in it.
TEST_F(GetAddrInfoWithTimeOut, FreedLibrary_StaysUntilTheResolverReturns) {
  Start("hang", kGivenUp, WSAETIMEDOUT);
  EXPECT_TRUE(Eventually([&] { return fake.running == 1; }));
  ::SetEvent(given.Get());
  Join();
  copy.Free();
  ASSERT_NE(copy.Loaded(L"vtsocket.dll"), nullptr);
  copy.Load();  // the hooks go first
}

// Kills the thread, and takes its stack away as the system does.
void Kill(HANDLE thread, const void* onItsStack) {
  MEMORY_BASIC_INFORMATION stack = {};
  ::VirtualQuery(onItsStack, &stack, sizeof(stack));
  EXPECT_TRUE(::TerminateThread(thread, 0));
  EXPECT_EQ(::WaitForSingleObject(thread, 20'000), WAIT_OBJECT_0);
  DWORD before = 0;
  if (vtclass::test::RunsUnderWine()) {  // which leaves it readable for a while
    const auto* const end = static_cast<const char*>(stack.BaseAddress) + stack.RegionSize;
    const auto size = static_cast<SIZE_T>(end - static_cast<const char*>(stack.AllocationBase));
    EXPECT_TRUE(::VirtualProtect(stack.AllocationBase, size, PAGE_NOACCESS, &before));
  }
}

struct Question {
  std::string name;
  DWORD limit;
  std::atomic<const void*> stack{nullptr};

  static DWORD WINAPI Ask(void* context) {
    auto* const question = static_cast<Question*>(context);
    question->stack = static_cast<const void*>(&context);
    const timeval limit = Limit(static_cast<int>(question->limit));
    addrinfo* list = nullptr;
    const int error =
        VTSocket::GetAddrInfoWithTimeOut(question->name.c_str(), nullptr, nullptr, &list, &limit);
    if (error == 0) ::freeaddrinfo(list);
    return static_cast<DWORD>(error);
  }
};

// A library that is not freed: a killed thread's references stay.
TEST(KilledCaller, CostsItsOwnLookUpAlone) {
  Resolver fake;
  resolver = &fake;
  std::vector<OwnedKernelObject> threads;
  keptThreads = &threads;
  const Hooks hooks(::GetModuleHandleW(L"vtsocket.dll"));
  static int pass = 0;
  const std::string names = "hang " + std::to_string(++pass) + " ";
  const auto ask = [](const std::string& name) {
    Question question{name, kEnough};
    return Question::Ask(&question);
  };
  // At each of its system calls, and, at the last, while it waits for the answer.
  bool isDone = false;
  for (int call = 0; !isDone; ++call) {
    Victim dying;
    Question question{names + std::to_string(call), call == 0 ? DWORD{kLong} : DWORD{50}};
    victim = &dying;
    const OwnedKernelObject thread(
        ::CreateThread(nullptr, 0, &Question::Ask, &question, CREATE_SUSPENDED, nullptr));
    dying.thread = ::GetThreadId(thread.Get());
    dying.callsLeft = call;
    ::ResumeThread(thread.Get());
    if (call == 0) {
      EXPECT_TRUE(Eventually([&] { return fake.running == 1 && waiting == 1; }))
          << fake.running << " running, " << waiting << " waiting, " << fake.asked << " asked";
      --waiting;
    } else {
      const HANDLE either[] = {dying.stopped.Get(), thread.Get()};
      isDone = ::WaitForMultipleObjects(2, either, FALSE, 20'000) == WAIT_OBJECT_0 + 1;
    }
    if (!isDone) Kill(thread.Get(), question.stack);
    victim = nullptr;
    EXPECT_EQ(ask("host"), 0u) << "after a kill at call " << call;
    EXPECT_LT(call, 40);
    if (HasFailure()) break;
  }
  ::SetEvent(fake.release.Get());
  EXPECT_EQ(ask("host"), 0u);
  EXPECT_EQ(ask(names + "0"), 0u) << "the name of the one that was killed while it waited";
  keptThreads = nullptr;
  for (const auto& thread : threads)
    EXPECT_EQ(::WaitForSingleObject(thread.Get(), 20'000), WAIT_OBJECT_0);
}

class VTDnsResolver : public GetAddrInfoWithTimeOut {
 protected:
  ~VTDnsResolver() override { adapters = {}; }

  RefPointer<VTHostEntries> GetHostByName(const char* name) {
    return copy(&VTSocket::VTDnsResolver::GetHostByName)(name);
  }
  AddressFamily Choice() { return copy(&SocketServices::GetProtocolOfChoice)(); }

  // The addresses of this machine, or the error.
  std::wstring Local(AddressFamily family = AddressFamily::Any) {
    std::wstring texts;
    try {
      const auto host = GetHostByName("..localmachine");
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
  auto host = GetHostByName(nullptr);
  EXPECT_EQ(fake.question, "/0");
  EXPECT_TRUE(host->HasEntries());
  const auto each = host->GetAddressEnumerator(AddressFamily::IPv4);
  host = nullptr;
  EXPECT_EQ(fake.freed, 0);
  ASSERT_TRUE(each->MoveNext());
  EXPECT_EQ(each->GetAddress()->ToString(), L"10.1.2.3");
}

TEST_F(VTDnsResolver, GetHostByName_UnknownNameThrowsAndTraces) {
  traced.clear();
  for (const auto print : {&KeepTrace, static_cast<decltype(&KeepTrace)>(nullptr)}) {
    copy (&VTSock_SetZPrintf)(print);
    EXPECT_THROW(GetHostByName("none"), VTSocketError);
  }
  EXPECT_EQ(traced, "The host name \"%s\" cannot be resolved: %lunone");
}

TEST_F(VTDnsResolver, LocalMachine_ListsTheAdaptersOwnAddressesOnce) {
  winsockStarts = 0;
  adapters.addresses = {L"10.0.0.7", L"fe80::1%3", L"!10.0.0.8", L"fe80::1%4", L"127.0.0.1"};
  EXPECT_EQ(Local(), L"10.0.0.7 fe80::1%3 127.0.0.1 ::1 ");
  EXPECT_EQ(Local(AddressFamily::IPv6), L"fe80::1%3 ::1 ");
  EXPECT_EQ(winsockStarts, 1) << "who asks for a name next needs it";
  adapters.error = ERROR_NO_DATA;
  EXPECT_EQ(Local(), L"127.0.0.1 ::1 ");
  adapters.error = ERROR_ACCESS_DENIED;
  EXPECT_EQ(Local(), L"5");
  EXPECT_EQ(Choice(), AddressFamily::IPv4);
}

TEST_F(VTDnsResolver, LocalMachine_ReadsOnceWhenTheSizeIsKnown) {
  for (const auto& [count, calls] : {std::pair{1, 2}, {1, 1}, {9, 2}, {9, 1}, {3, 1}}) {
    adapters = {};
    adapters.addresses.assign(static_cast<size_t>(count), L"10.0.0.7");
    EXPECT_EQ(Local(AddressFamily::IPv4), L"10.0.0.7 127.0.0.1 ");
    EXPECT_EQ(adapters.calls, calls);
  }
}

TEST_F(VTDnsResolver, ProtocolOfChoice_IsIPv6WhereIPv4LeadsNowhere) {
  const auto choice = [this](std::vector<std::wstring> addresses) {
    adapters.addresses = std::move(addresses);
    return Choice();
  };
  EXPECT_EQ(choice({L"2001:db8::1", L"10.0.0.7"}), AddressFamily::IPv4);
  EXPECT_EQ(choice({L"2001:db8::1", L"169.254.0.7", L"127.0.0.1"}), AddressFamily::IPv6);
  EXPECT_EQ(choice({L"fe80::1%3"}), AddressFamily::IPv4);
}

}  // namespace
