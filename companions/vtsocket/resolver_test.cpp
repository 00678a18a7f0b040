#include <cstdarg>
#include <optional>
#include <thread>

#include "tests/support/answered_look_ups.h"
#include "tests/support/library_copy.h"
#include "tests/support/resolver_doubles.h"
#include "tests/support/wine.h"

namespace {

using namespace VTSocket;
using namespace vtclass::test;

[[maybe_unused]] auto* const lookUps = AnswerLookUps(&LookUp, L"vtsocket.dll");

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
  EXPECT_EQ(::WaitForSingleObject(thread, kLimit), WAIT_OBJECT_0);
  DWORD before = 0;
  if (RunsUnderWine()) {  // which leaves it readable for a while
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
      isDone = ::WaitForMultipleObjects(2, either, FALSE, kLimit) == WAIT_OBJECT_0 + 1;
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
    EXPECT_EQ(::WaitForSingleObject(thread.Get(), kLimit), WAIT_OBJECT_0);
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
