#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/owned.h"
#include "tests/support/allocations.h"
#include "tests/support/eventually.h"
#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "vtclass/agent.h"

namespace {

using namespace std::string_literals;
using namespace vtclass::test;
using Adv = AgentAdvConfig;
using Texts = std::vector<wcstring>;

constexpr wchar_t kKey[] = L"Software\\Norvane\\Vantorel For Windows\\Vantorel\\Engine\\Agents";
constexpr wchar_t kServers[] = L"Agent Directory List";
constexpr wchar_t kPurge[] = L"Advertisement Purge Media Server";
constexpr wchar_t kNames[] = L"Advertised Name Ok List";
constexpr unsigned kReadWrite = Configuration::accessRead | Configuration::accessWrite;
constexpr unsigned long kOtherType = 0xFFFFFFFF;

int queries, writes;
int failingWrite;  // 1 is the next

LSTATUS WINAPI Write(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                     DWORD size) {
  ++writes;
  if (writes == failingWrite) return ERROR_DISK_FULL;
  return ::RegSetValueExW(key, name, reserved, type, data, size);
}

LSTATUS WINAPI Query(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                     LPDWORD size) {
  ++queries;
  return ::RegQueryValueExW(key, name, reserved, type, data, size);
}

// The units behind the text must not be taken for a missing zero.
void Put(const wchar_t* value, const std::wstring& text, DWORD type = REG_MULTI_SZ) {
  StoreValue(kKey, value, type, (text + L"x").data(), static_cast<DWORD>(text.size() * 2));
}

void Put(const wchar_t* value, DWORD number) {
  StoreValue(kKey, value, REG_DWORD, &number, sizeof(number));
}

// A list with bars for its zeros; "-" when there is none, "?" for another type.
std::wstring Shown(const wchar_t* value) {
  DWORD type = REG_NONE;
  const std::string bytes = StoredValue(kKey, value, &type);
  if (type != REG_MULTI_SZ) return type == REG_NONE ? L"-" : L"?";
  std::wstring text(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2);
  std::ranges::replace(text, L'\0', L'|');
  return text;
}

int Number(const wchar_t* value) {
  const std::string bytes = StoredValue(kKey, value);
  return bytes.size() == 4 ? *reinterpret_cast<const int*>(bytes.data()) : -1;
}

// The agents key alone: Open fails for want of an agent, and the key stays open.
class AgentAdvConfigTest : public testing::Test {
 protected:
  AgentAdvConfigTest() { Reopen(kReadWrite); }
  void Reopen(unsigned access) {
    MakeKey(kKey);
    EXPECT_EQ(adv.Open(nullptr, nullptr, nullptr, access), Adv::notInstalled);
    queries = writes = failingWrite = 0;
  }
  void Clear() {
    for (const wchar_t* value : {kServers, kPurge, kNames, L"Advertise Now", L"Advertisement Purge",
                                 L"Advertising Disabled"}) {
      ::RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kKey, value);
    }
    writes = failingWrite = 0;
  }

  PrivateRegistry registry;
  Adv adv;
  ImportHook<decltype(::RegSetValueExW)> write{"ADVAPI32.dll", "RegSetValueExW", &Write};
  ImportHook<decltype(::RegQueryValueExW)> query{"ADVAPI32.dll", "RegQueryValueExW", &Query};
};

TEST_F(AgentAdvConfigTest, Switches_HaveTheirDefaultsAndValues) {
  const struct {
    const wchar_t* value;
    bool (Adv::*ask)();
    unsigned long (Adv::*turnOn)();
    unsigned long (Adv::*turnOff)();
    bool byDefault;
    bool isReversed;
  } rows[] = {
      {L"Advertising Disabled", &Adv::IsAdvEnabled, &Adv::EnableAdv, &Adv::DisableAdv, true, true},
      {L"Advertisement Purge", &Adv::IsPurgePending, &Adv::EnablePendingPurge,
       &Adv::DisablePendingPurge, false, false},
      {L"Advertise Now", &Adv::IsAdvertiseNowPending, &Adv::SetPendingAdvertiseNow,
       &Adv::ClearPendingAdvertiseNow, false, false},
      {L"Auto Discovery Enabled", &Adv::IsAutoDiscoveryEnabled, &Adv::EnableAutoDiscovery,
       &Adv::DisableAutoDiscovery, true, false}};
  for (const auto& [value, ask, turnOn, turnOff, byDefault, isReversed] : rows) {
    EXPECT_EQ((adv.*ask)(), byDefault) << value << " is missing";
    Put(value, L"0", REG_SZ);
    EXPECT_EQ((adv.*ask)(), byDefault) << value << " is a text";
    for (const DWORD number : {1u, 0u, 0x80000000u}) {
      Put(value, number);
      EXPECT_EQ((adv.*ask)(), (number != 0) != isReversed) << value << " is " << number;
    }
    EXPECT_EQ((adv.*turnOff)(), 0u);
    EXPECT_EQ(Number(value), isReversed ? 1 : 0) << value;
    EXPECT_EQ((adv.*turnOn)(), 0u);
    EXPECT_EQ(Number(value), isReversed ? 0 : 1) << value;
    EXPECT_EQ(adv.GetErrorCode(), 2u) << "questions leave what Open told";
    failingWrite = writes + 1;
    EXPECT_EQ((adv.*turnOff)(), DWORD{ERROR_DISK_FULL}) << value;
    EXPECT_EQ(adv.GetErrorCode(), DWORD{ERROR_DISK_FULL});
    Reopen(kReadWrite);
  }
}

TEST_F(AgentAdvConfigTest, Interval_AnyNumber) {
  unsigned long minutes = 5;
  EXPECT_EQ(adv.GetAdvertiseInterval(minutes), 2u);
  EXPECT_EQ(minutes, 5u);
  EXPECT_EQ(adv.SetAdvertiseInterval(0xFFFFFFFF), 0u);
  EXPECT_EQ(adv.GetAdvertiseInterval(minutes), 0u);
  EXPECT_EQ(minutes, 0xFFFFFFFF);
  Put(L"Advertising Interval Minutes", L"5", REG_SZ);
  EXPECT_EQ(adv.GetAdvertiseInterval(minutes), kOtherType);
  EXPECT_EQ(adv.GetErrorCode(), kOtherType);
}

TEST_F(AgentAdvConfigTest, WholeLists_AreReadAndReplaced) {
  const struct {
    const wchar_t* value;
    unsigned long (Adv::*get)(Texts&);
    unsigned long (Adv::*set)(Texts&);
  } rows[] = {{kServers, &Adv::GetMediaServerAdvList, &Adv::SetMediaServerAdvList},
              {kPurge, &Adv::GetMediaServerPurgeList, &Adv::SetMediaServerPurgeList},
              {kNames, &Adv::GetMyPublishedNamesList, &Adv::SetMyPublishedNamesList}};
  for (const auto& [value, get, set] : rows) {
    Texts list = {L"old"};
    EXPECT_EQ((adv.*get)(list), 0u) << value << " is missing";
    EXPECT_EQ(list, Texts());
    list = {L"MS1", L"", L"ms1"};
    EXPECT_EQ((adv.*set)(list), 0u);
    EXPECT_EQ(Shown(value), L"MS1||ms1||");
    EXPECT_EQ((adv.*get)(list), 0u);
    EXPECT_EQ(list, (Texts{L"MS1", L"ms1"}));
    Put(value, 7);
    EXPECT_EQ((adv.*get)(list), kOtherType);
    EXPECT_EQ(list, Texts());
    EXPECT_EQ(adv.GetErrorCode(), kOtherType);
  }
}

TEST_F(AgentAdvConfigTest, Names_AreAddedFoundAndRemoved) {
  enum Operation { add, del, is };
  const struct {
    std::wstring before;
    Operation operation;
    const wchar_t* name;
    bool flag;
    std::wstring after;  // empty: nothing is written
    DWORD type = REG_MULTI_SZ;
  } rows[] = {
      {L"A\0\0"s, add, L"MS1", false, L"A|MS1||"},
      {L"\0"s, add, L"MS1", false, L"MS1||"},
      {L"A\0MS1\0\0"s, add, L"ms1", true, L""},
      {L"MS1\0\0"s, add, L"MS10", false, L"MS1|MS10||"},
      {L"MS10\0\0"s, add, L"MS1", false, L"MS10|MS1||"},
      {L"\u00C4\0\0"s, add, L"\u00E4", true, L""},
      {L"A\0\0\0B\0\0"s, add, L"C", false, L"A|B|C||"},
      {L"A\0BC"s, add, L"C", false, L"A|BC|C||"},
      {L"A\0"s, add, L"B", false, L"A|B||", REG_SZ},
      {L"A\0\0\0"s, add, L"B", false, L"B||", REG_BINARY},
      {L"A\0a\0B\0\0"s, del, L"a", false, L"a|B||"},
      {L"A\0\0B\0C\0\0"s, del, L"c", false, L"A|B||"},
      {L"A\0\0"s, del, L"A", false, L"|"},
      {L"A\0\0"s, del, L"AA", true, L""},
      {L"A\0\0\0"s, del, L"A", true, L"", REG_BINARY},
      {L"A\0B\0\0"s, is, L"b", true, L""},
      {L"A\0B\0\0"s, is, L"C", false, L""},
      {L"A\0\0\0"s, is, L"A", false, L"", REG_BINARY},
  };
  const struct {
    const wchar_t* value;
    unsigned long (Adv::*call)(const wchar_t*, bool&);
    Operation operation;
  } operations[] = {{kNames, &Adv::AddPublishedNameToList, add},
                    {kNames, &Adv::DelPublishedNameFromList, del},
                    {kNames, &Adv::IsThisNameBeingPublished, is},
                    {kPurge, &Adv::DelMediaServerPurge, del}};
  for (const auto& [value, call, operation] : operations) {
    for (const auto& row : rows) {
      if (row.operation != operation) continue;
      SCOPED_TRACE(row.before + L" " + row.name);
      Clear();
      Put(value, row.before, row.type);
      const std::string before = StoredValue(kKey, value);
      bool flag = !row.flag;
      EXPECT_EQ((adv.*call)(row.name, flag), 0u);
      EXPECT_EQ(flag, row.flag);
      EXPECT_EQ(writes, row.after.empty() ? 0 : 1);
      if (row.after.empty()) {
        EXPECT_EQ(StoredValue(kKey, value), before);
      } else {
        EXPECT_EQ(Shown(value), row.after);
      }
    }
    Clear();
    for (const wchar_t* none : {static_cast<const wchar_t*>(nullptr), L""}) {
      bool flag = operation != del;
      EXPECT_EQ((adv.*call)(none, flag), DWORD{ERROR_INVALID_PARAMETER});
      EXPECT_EQ(flag, operation == del);
      EXPECT_EQ(adv.GetErrorCode(), DWORD{ERROR_INVALID_PARAMETER});
    }
  }
  EXPECT_EQ(writes, 0);
}

// The two lists, and what is pending.
std::wstring State() {
  return Shown(kServers) + L" " + Shown(kPurge) + (Number(L"Advertise Now") == 1 ? L" now" : L"") +
         (Number(L"Advertisement Purge") == 1 ? L" purge" : L"");
}

// Status and flags, both of which were the other way round.
std::string Advertise(Adv& adv, const wchar_t* server, bool now) {
  bool alreadyPresent = true;
  const unsigned long status = adv.AddMediaServerAdv(server, alreadyPresent, now);
  return std::to_string(status) + (alreadyPresent ? " already" : " new");
}

std::string Forget(Adv& adv, const wchar_t* server, bool now, bool force) {
  bool notInDirectory = false;
  bool alreadyInPurge = true;
  const unsigned long status =
      adv.AddMediaServerPurge(server, notInDirectory, alreadyInPurge, now, force);
  return std::to_string(status) + (notInDirectory ? " not" : " in") +
         (alreadyInPurge ? " already" : " new");
}

TEST_F(AgentAdvConfigTest, MediaServers_MoveFromListToList) {
  const struct {
    const wchar_t* servers;
    const wchar_t* purge;
    std::function<std::string(Adv&)> call;
    std::string answer;
    std::wstring after;
    int writes;
  } rows[] = {
      {L"", L"", [](Adv& a) { return Advertise(a, L"MS1", true); }, "0 new", L"MS1|| - now", 2},
      {L"", L"", [](Adv& a) { return Advertise(a, L"MS1", false); }, "0 new", L"MS1|| -", 1},
      {L"MS1", L"", [](Adv& a) { return Advertise(a, L"ms1", true); }, "0 already", L"MS1|| -", 0},
      {L"MS1", L"ms1", [](Adv& a) { return Advertise(a, L"ms1", true); }, "0 already",
       L"MS1|| | now", 2},
      {L"A", L"MS1", [](Adv& a) { return Advertise(a, L"MS1", true); }, "0 new", L"A|MS1|| | now",
       3},
      {L"", L"", [](Adv& a) { return Advertise(a, L"", true); }, "87 new", L"- -", 0},
      {L"", L"A", [](Adv& a) { return Forget(a, L"MS2", true, false); }, "0 not new", L"- A||", 0},
      {L"", L"MS2", [](Adv& a) { return Forget(a, L"ms2", true, false); }, "0 not already",
       L"- MS2||", 0},
      {L"", L"", [](Adv& a) { return Forget(a, L"MS2", true, true); }, "0 not new",
       L"- MS2|| now purge", 3},
      {L"", L"MS2", [](Adv& a) { return Forget(a, L"ms2", true, true); }, "0 not already",
       L"- MS2|| purge", 1},
      {L"MS2", L"", [](Adv& a) { return Forget(a, L"MS2", true, false); }, "0 in new",
       L"| MS2|| now purge", 4},
      {L"MS2", L"ms2", [](Adv& a) { return Forget(a, L"MS2", true, false); }, "0 in already",
       L"| ms2|| now purge", 3},
      {L"MS2", L"", [](Adv& a) { return Forget(a, L"MS2", false, false); }, "0 in new",
       L"| MS2|| purge", 3},
      {L"", L"", [](Adv& a) { return Forget(a, nullptr, true, true); }, "87 not new", L"- -", 0},
  };
  for (const auto& [servers, purge, call, answer, after, count] : rows) {
    Clear();
    if (*servers) Put(kServers, servers + L"\0\0"s);
    if (*purge) Put(kPurge, purge + L"\0\0"s);
    EXPECT_EQ(call(adv), answer) << after;
    EXPECT_EQ(State(), after);
    EXPECT_EQ(writes, count) << after;
  }
}

TEST_F(AgentAdvConfigTest, MediaServer_NotAddedWhileAdvertisingIsOff) {
  Put(L"Advertising Disabled", 1);
  Put(kPurge, L"MS1\0\0"s);
  EXPECT_EQ(Advertise(adv, L"MS1", true), std::to_string(0xE0008923) + " new");
  EXPECT_EQ(adv.GetErrorCode(), 0xE0008923);
  EXPECT_EQ(State(), L"- MS1||");
}

TEST_F(AgentAdvConfigTest, FailedWrite_KeepsWhatWasDoneBefore) {
  const std::wstring advertised[] = {L"- MS1||", L"- |", L"MS1|| |"};
  const std::wstring forgotten[] = {L"MS1|| -", L"| -", L"| MS1||", L"| MS1|| purge"};
  const std::string failed = std::to_string(ERROR_DISK_FULL);
  for (int n = 1; n <= 3; ++n) {
    Clear();
    Put(kPurge, L"MS1\0\0"s);
    failingWrite = n;
    EXPECT_EQ(Advertise(adv, L"MS1", true), failed + " new");
    EXPECT_EQ(State(), advertised[n - 1]);
    EXPECT_EQ(adv.GetErrorCode(), DWORD{ERROR_DISK_FULL});
  }
  for (int n = 1; n <= 4; ++n) {
    Clear();
    Put(kServers, L"MS1\0\0"s);
    failingWrite = n;
    EXPECT_EQ(Forget(adv, L"MS1", true, false), failed + " in new");
    EXPECT_EQ(State(), forgotten[n - 1]);
  }
}

TEST_F(AgentAdvConfigTest, UnreadableList_CountsAsEmpty) {
  Put(kNames, L"A\0\0"s);
  Put(L"Advertisement Purge", 1);
  Reopen(Configuration::accessWrite);
  bool flag = false;
  EXPECT_EQ(adv.DelPublishedNameFromList(L"A", flag), 0u);
  EXPECT_TRUE(flag);
  EXPECT_EQ(adv.AddPublishedNameToList(L"B", flag), 0u);
  EXPECT_EQ(Shown(kNames), L"B||");
  EXPECT_FALSE(adv.IsPurgePending());
  EXPECT_EQ(adv.GetErrorCode(), 2u) << "none of it is a failure";
  Texts list = {L"old"};
  EXPECT_EQ(adv.GetMyPublishedNamesList(list), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(list, Texts());
}

TEST_F(AgentAdvConfigTest, ClosedObject_Fails) {
  Adv closed;
  bool a = false, b = false;
  Texts list;
  unsigned long minutes = 0;
  EXPECT_EQ(closed.GetErrorCode(), 0u);
  EXPECT_EQ(closed.RegisterForChanges(nullptr), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(closed.WaitForChanges(), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(closed.GetErrorCode(), 0u) << "the operations for changes leave it";
  EXPECT_TRUE(closed.IsAdvEnabled());
  EXPECT_FALSE(closed.IsAdvertiseNowPending());
  for (const unsigned long status :
       {closed.DisableAdv(), closed.GetAdvertiseInterval(minutes),
        closed.GetMediaServerAdvList(list), closed.SetMediaServerAdvList(list),
        closed.AddPublishedNameToList(L"A", a), closed.AddMediaServerAdv(L"A", a, true),
        closed.AddMediaServerPurge(L"A", a, b, true, true)}) {
    EXPECT_EQ(status, DWORD{ERROR_INVALID_HANDLE});
  }
  EXPECT_EQ(closed.GetErrorCode(), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(closed.Close(), 0u);
}

TEST_F(AgentAdvConfigTest, ThousandServers_AreReadAndWrittenOnce) {
  Texts servers;
  for (int i = 0; i < 1000; ++i) servers.emplace_back(L"server-" + std::to_wstring(1000 + i));
  EXPECT_EQ(adv.SetMyPublishedNamesList(servers), 0u);
  const std::wstring before = Shown(kNames);
  queries = writes = 0;
  bool flag = true;
  EXPECT_EQ(adv.AddPublishedNameToList(L"SERVER-2000", flag), 0u);
  EXPECT_TRUE(Shown(kNames) == before.substr(0, before.size() - 1) + L"SERVER-2000||");
  EXPECT_EQ(adv.DelPublishedNameFromList(L"server-2000", flag), 0u);
  EXPECT_TRUE(Shown(kNames) == before);
  EXPECT_LE(queries, 4) << "a query for the size, and one for the list";
  EXPECT_EQ(writes, 2);
  // A list that does not fit into memory is no empty one.
  for (const auto call : {&Adv::AddPublishedNameToList, &Adv::IsThisNameBeingPublished,
                          &Adv::DelPublishedNameFromList}) {
    for (long n = 1;; ++n) {
      Allocations allocations;
      allocations.FailAt(n);
      const unsigned long status = (adv.*call)(L"SERVER-1999", flag);
      EXPECT_EQ(status, allocations.Failed() ? DWORD{ERROR_NOT_ENOUGH_MEMORY} : 0) << n;
      if (!allocations.Failed()) break;
      EXPECT_EQ(adv.GetErrorCode(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
      EXPECT_TRUE(Shown(kNames) == before) << n;
    }
  }
}

TEST_F(AgentAdvConfigTest, Changes_AreSignalledOnce) {
  const vtclass::platform::OwnedKernelObject event(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
  const auto isSignalled = [&](DWORD limit) {
    return ::WaitForSingleObject(event.Get(), limit) == WAIT_OBJECT_0;
  };
  EXPECT_EQ(adv.RegisterForChanges(event.Get()), 0u) << "whatever failed before";
  EXPECT_FALSE(isSignalled(0));
  EXPECT_EQ(Advertise(adv, L"MS1", false), "0 new");
  EXPECT_TRUE(isSignalled(kLimit));
  EXPECT_EQ(adv.RegisterForChanges(event.Get()), 0u);
  MakeKey(std::wstring(kKey) + L"\\below");
  EXPECT_TRUE(isSignalled(kLimit));
  EXPECT_EQ(adv.UnregisterForChanges(event.Get()), DWORD{ERROR_INVALID_FUNCTION});
  EXPECT_EQ(adv.GetErrorCode(), 2u) << "left as Open has told it";
}

TEST_F(AgentAdvConfigTest, WaitForChanges_ReturnsAfterAChange) {
  unsigned long status = 1;
  std::atomic<bool> returned = false;
  std::thread waiting([&] {
    status = adv.WaitForChanges();
    returned = true;
  });
  // Changed until it returns: nothing tells when it has begun to wait.
  DWORD number = 0;
  EXPECT_TRUE(Eventually([&] {
    Put(L"Advertise Now", ++number);
    return returned.load();
  }));
  waiting.join();
  EXPECT_EQ(status, 0u);
}

}  // namespace
