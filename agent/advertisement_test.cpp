#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
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

using namespace vtclass::test;
using Adv = AgentAdvConfig;
using Texts = std::vector<wcstring>;

constexpr wchar_t kKey[] = L"Software\\Norvane\\Vantorel For Windows\\Vantorel\\Engine\\Agents";
constexpr wchar_t kServers[] = L"Agent Directory List";
constexpr wchar_t kPurge[] = L"Advertisement Purge Media Server";
constexpr wchar_t kNames[] = L"Advertised Name Ok List";
constexpr wchar_t kNow[] = L"Advertise Now";
constexpr wchar_t kPending[] = L"Advertisement Purge";
constexpr unsigned long kOtherType = 0xFFFFFFFF;

int writes, failingWrite;  // 1 is the first

LSTATUS WINAPI Write(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                     DWORD size) {
  if (++writes == failingWrite) return ERROR_DISK_FULL;
  return ::RegSetValueExW(key, name, reserved, type, data, size);
}

// Stores a list, with bars for its zeros, or text of another type; "-" is no value.
void Put(const wchar_t* value, std::wstring shown, DWORD type = REG_MULTI_SZ) {
  ::RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kKey, value);
  std::ranges::replace(shown, L'|', L'\0');
  // What stands behind the text must not be taken for a missing zero.
  const auto size = static_cast<DWORD>(shown.size() * sizeof(wchar_t));
  if (shown != L"-") StoreValue(kKey, value, type, (shown + L"x").data(), size);
}

void PutNumber(const wchar_t* value, DWORD number) {
  StoreValue(kKey, value, REG_DWORD, &number, sizeof(number));
}

// The same; a number as such, and every other type behind a question mark.
std::wstring Shown(const wchar_t* value) {
  DWORD type = REG_NONE;
  const std::string bytes = StoredValue(kKey, value, &type);
  if (type == REG_NONE) return L"-";
  if (type == REG_DWORD) return std::to_wstring(*reinterpret_cast<const DWORD*>(bytes.data()));
  std::wstring text(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2);
  std::ranges::replace(text, L'\0', L'|');
  return type == REG_MULTI_SZ ? text : L"?" + text;
}

// The agents key alone: Open fails for want of an agent, and the key stays open.
class AgentAdvConfigTest : public testing::Test {
 protected:
  AgentAdvConfigTest() {
    MakeKey(kKey);
    Reopen(Configuration::accessRead | Configuration::accessWrite);
    writes = failingWrite = 0;
  }
  void Reopen(unsigned access) {
    EXPECT_EQ(adv.Open(nullptr, nullptr, nullptr, access), Adv::notInstalled);
  }

  PrivateRegistry registry;
  Adv adv;
  ImportHook<decltype(::RegSetValueExW)> write{"ADVAPI32.dll", "RegSetValueExW", &Write};
};

TEST_F(AgentAdvConfigTest, Switches_HaveTheirDefaultsAndValues) {
  const struct {
    const wchar_t* value;
    bool (Adv::*ask)();
    unsigned long (Adv::*turnOn)();
    unsigned long (Adv::*turnOff)();
    bool byDefault;
    bool isReversed = false;
  } rows[] = {
      {L"Advertising Disabled", &Adv::IsAdvEnabled, &Adv::EnableAdv, &Adv::DisableAdv, true, true},
      {kPending, &Adv::IsPurgePending, &Adv::EnablePendingPurge, &Adv::DisablePendingPurge, false},
      {kNow, &Adv::IsAdvertiseNowPending, &Adv::SetPendingAdvertiseNow,
       &Adv::ClearPendingAdvertiseNow, false},
      {L"Auto Discovery Enabled", &Adv::IsAutoDiscoveryEnabled, &Adv::EnableAutoDiscovery,
       &Adv::DisableAutoDiscovery, true}};
  for (const auto& [value, ask, turnOn, turnOff, byDefault, isReversed] : rows) {
    EXPECT_EQ((adv.*ask)(), byDefault) << value << " is missing";
    Put(value, L"0|", REG_SZ);
    EXPECT_EQ((adv.*ask)(), byDefault) << value << " is a text";
    for (const DWORD number : {1u, 0u, 0x80000000u}) {
      PutNumber(value, number);
      EXPECT_EQ((adv.*ask)(), (number != 0) != isReversed) << value << " is " << number;
    }
    EXPECT_EQ((adv.*turnOff)(), 0u);
    EXPECT_EQ(Shown(value), isReversed ? L"1" : L"0") << value;
    EXPECT_EQ((adv.*turnOn)(), 0u);
    EXPECT_EQ(Shown(value), isReversed ? L"0" : L"1") << value;
  }
  EXPECT_EQ(adv.GetErrorCode(), 2u) << "neither questions nor successes change it";
}

TEST_F(AgentAdvConfigTest, Interval_AnyNumber) {
  unsigned long minutes = 5;
  EXPECT_EQ(adv.GetAdvertiseInterval(minutes), 2u);
  Put(L"Advertising Interval Minutes", L"5|", REG_SZ);
  EXPECT_EQ(adv.GetAdvertiseInterval(minutes), kOtherType);
  EXPECT_EQ(minutes, 5u);
  EXPECT_EQ(adv.SetAdvertiseInterval(0xFFFFFFFF), 0u);
  EXPECT_EQ(adv.GetAdvertiseInterval(minutes), 0u);
  EXPECT_EQ(minutes, 0xFFFFFFFF);
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
    PutNumber(value, 7);
    EXPECT_EQ((adv.*get)(list), kOtherType);
    EXPECT_EQ(list, Texts());
    EXPECT_EQ(adv.GetErrorCode(), kOtherType);
  }
}

TEST_F(AgentAdvConfigTest, Names_AreAddedFoundAndRemoved) {
  enum Operation { add, del, is };
  const struct {
    const wchar_t* before;
    Operation operation;
    const wchar_t* name;
    bool flag;
    const wchar_t* after;
    DWORD type = REG_MULTI_SZ;
  } rows[] = {
      {L"-", add, L"MS1", false, L"MS1||"},
      {L"|", add, L"MS1", false, L"MS1||"},
      {L"A|MS1|||", add, L"ms1", true, L"A|MS1|||"},
      {L"MS1||", add, L"MS10", false, L"MS1|MS10||"},
      {L"MS10||", add, L"MS1", false, L"MS10|MS1||"},
      {L"\u00C4||", add, L"\u00E4", true, L"\u00C4||"},
      {L"A|||B||", add, L"C", false, L"A|B|C||"},
      {L"A|BC", add, L"C", false, L"A|BC|C||"},
      {L"A|", add, L"B", false, L"A|B||", REG_SZ},
      {L"A|||", add, L"B", false, L"B||", REG_BINARY},
      {L"-", del, L"A", true, L"-"},
      {L"A|a|B||", del, L"a", false, L"a|B||"},
      {L"A||B|C||", del, L"c", false, L"A|B||"},
      {L"A||", del, L"A", false, L"|"},
      {L"A|||", del, L"AA", true, L"A|||"},
      {L"A|||", del, L"A", true, L"?A|||", REG_BINARY},
      {L"A|B||", is, L"b", true, L"A|B||"},
      {L"A|B||", is, L"C", false, L"A|B||"},
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
    for (const auto& [before, ofRow, name, expected, after, type] : rows) {
      if (ofRow != operation) continue;
      Put(value, before, type);
      writes = 0;
      bool flag = !expected;
      EXPECT_EQ((adv.*call)(name, flag), 0u);
      EXPECT_EQ(flag, expected) << name << " in " << before;
      EXPECT_EQ(Shown(value), after) << name << " in " << before;
      EXPECT_LE(writes, operation != is && !expected) << name << " in " << before;
    }
    for (const wchar_t* none : {static_cast<const wchar_t*>(nullptr), L""}) {
      bool flag = operation != del;
      EXPECT_EQ((adv.*call)(none, flag), DWORD{ERROR_INVALID_PARAMETER});
      EXPECT_EQ(flag, operation == del);
    }
  }
  EXPECT_EQ(adv.GetErrorCode(), DWORD{ERROR_INVALID_PARAMETER});
}

// "+M" has the agent advertise to M, "-M" has M forget it, followed by "n" for now and "f" for by
// force. Answers the status and the flags: "new" where M was not in the list that it goes to, "in"
// where it was in the list that it leaves.
std::string Call(Adv& adv, const std::wstring& call) {
  const wchar_t server[] = {call[1] == L'0' ? L'\0' : call[1], L'\0'};
  const bool now = call.find(L'n') != std::wstring::npos;
  const bool force = call.find(L'f') != std::wstring::npos;
  bool left = false, already = true;
  const unsigned long status = call[0] == L'+'
                                   ? adv.AddMediaServerAdv(server, already, now)
                                   : adv.AddMediaServerPurge(server, left, already, now, force);
  return std::to_string(status) + (already ? " already" : " new") + (left ? "" : " in");
}

std::wstring State() {
  return Shown(kServers) + L" " + Shown(kPurge) + L" " + Shown(kNow) + L" " + Shown(kPending);
}

TEST_F(AgentAdvConfigTest, MediaServers_MoveFromListToList) {
  const struct {
    const wchar_t* servers;
    const wchar_t* purge;
    const wchar_t* call;
    const char* answer;
    const wchar_t* after;
    int failing = 0;  // which write
  } rows[] = {
      {L"-", L"-", L"+Mn", "0 new in", L"M|| - 1 -"},
      {L"-", L"-", L"+M", "0 new in", L"M|| - - -"},
      {L"M||", L"-", L"+mn", "0 already in", L"M|| - - -"},
      {L"M||", L"m||", L"+mn", "0 already in", L"M|| | 1 -"},
      {L"A||", L"M||", L"+Mn", "0 new in", L"A|M|| | 1 -"},
      {L"-", L"-", L"+0n", "87 new in", L"- - - -"},
      {L"-", L"M||", L"+Mn", "112 new in", L"- M|| - -", 1},
      {L"-", L"M||", L"+Mn", "112 new in", L"- | - -", 2},
      {L"-", L"M||", L"+Mn", "112 new in", L"M|| | - -", 3},
      {L"-", L"A||", L"-Mn", "0 new", L"- A|| - -"},
      {L"-", L"M||", L"-mn", "0 already", L"- M|| - -"},
      {L"-", L"-", L"-Mnf", "0 new", L"- M|| 1 1"},
      {L"-", L"M||", L"-mnf", "0 already", L"- M|| - 1"},
      {L"M||", L"-", L"-Mn", "0 new in", L"| M|| 1 1"},
      {L"M||", L"m||", L"-Mn", "0 already in", L"| m|| 1 1"},
      {L"M||", L"-", L"-Mf", "0 new in", L"| M|| - 1"},
      {L"-", L"-", L"-0nf", "87 new", L"- - - -"},
      {L"M||", L"-", L"-Mn", "112 new in", L"M|| - - -", 1},
      {L"M||", L"-", L"-Mn", "112 new in", L"| - - -", 2},
      {L"M||", L"-", L"-Mn", "112 new in", L"| M|| - -", 3},
      {L"M||", L"-", L"-Mn", "112 new in", L"| M|| - 1", 4},
  };
  for (const auto& [servers, purge, call, answer, after, failing] : rows) {
    Put(kServers, servers);
    Put(kPurge, purge);
    Put(kNow, L"-");
    Put(kPending, L"-");
    writes = 0;
    failingWrite = failing;
    EXPECT_EQ(Call(adv, call), answer) << call << " " << after;
    EXPECT_EQ(State(), after) << call << " " << after;
  }
  EXPECT_EQ(adv.GetErrorCode(), DWORD{ERROR_DISK_FULL});
  failingWrite = 0;
  EXPECT_EQ(adv.DisableAdv(), 0u);
  const std::wstring before = State();
  EXPECT_EQ(Call(adv, L"+Nn"), std::to_string(0xE0008923) + " new in");
  EXPECT_EQ(adv.GetErrorCode(), 0xE0008923);
  EXPECT_EQ(State(), before);
}

TEST_F(AgentAdvConfigTest, UnreadableList_CountsAsEmpty) {
  Put(kNames, L"A||");
  PutNumber(kPending, 1);
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

LSTATUS queryStatus;
LSTATUS WINAPI RefuseQuery(HKEY, LPCWSTR, LPDWORD, LPDWORD, LPBYTE, LPDWORD) { return queryStatus; }

TEST_F(AgentAdvConfigTest, ListThatTheSystemHasNoMemoryFor_IsNotReplaced) {
  Put(kNames, L"A||");
  const ImportHook<decltype(::RegQueryValueExW)> hook("ADVAPI32.dll", "RegQueryValueExW",
                                                      &RefuseQuery);
  for (const DWORD code : {8u, 14u, 1450u, 1455u, 53u}) {
    queryStatus = static_cast<LSTATUS>(code);
    bool flag = true;
    EXPECT_EQ(adv.AddPublishedNameToList(L"B", flag), code == 53 ? 0 : code);
    EXPECT_FALSE(flag);
    EXPECT_EQ(Shown(kNames), code == 53 ? L"B||" : L"A||") << code;
  }
}

TEST_F(AgentAdvConfigTest, ClosedObject_Fails) {
  adv.Close();
  bool flag = false;
  Texts list;
  EXPECT_EQ(adv.RegisterForChanges(nullptr), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(adv.WaitForChanges(), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(adv.UnregisterForChanges(nullptr), DWORD{ERROR_INVALID_FUNCTION});
  EXPECT_TRUE(adv.IsAdvEnabled());
  EXPECT_EQ(adv.GetErrorCode(), 2u) << "left as Open has told it";
  EXPECT_EQ(adv.DisableAdv(), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(adv.GetMediaServerAdvList(list), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(adv.SetMediaServerAdvList(list), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(adv.AddPublishedNameToList(L"A", flag), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(adv.GetErrorCode(), DWORD{ERROR_INVALID_HANDLE});
}

TEST_F(AgentAdvConfigTest, ThousandNames_AreChangedOrLeft) {
  Texts names;
  for (int i = 1000; i < 2000; ++i) names.emplace_back(L"server-" + std::to_wstring(i));
  EXPECT_EQ(adv.SetMyPublishedNamesList(names), 0u);
  const std::wstring before = Shown(kNames);
  bool flag = true;
  EXPECT_EQ(adv.AddPublishedNameToList(L"SERVER-2000", flag), 0u);
  EXPECT_TRUE(Shown(kNames) == before.substr(0, before.size() - 1) + L"SERVER-2000||");
  EXPECT_EQ(adv.DelPublishedNameFromList(L"server-2000", flag), 0u);
  EXPECT_TRUE(Shown(kNames) == before);
  // A list that does not fit into memory is no empty one.
  for (const auto call : {&Adv::IsThisNameBeingPublished, &Adv::AddPublishedNameToList,
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

TEST_F(AgentAdvConfigTest, Changes_AreSignalledOrWaitedFor) {
  const vtclass::platform::OwnedKernelObject event(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
  for (const wchar_t* changed : {L"", L"\\below"}) {
    EXPECT_EQ(adv.RegisterForChanges(event.Get()), 0u) << "whatever failed before";
    EXPECT_EQ(::WaitForSingleObject(event.Get(), 0), DWORD{WAIT_TIMEOUT});
    StoreValue(std::wstring(kKey) + changed, L"any", REG_SZ, L"", 2);
    EXPECT_EQ(::WaitForSingleObject(event.Get(), kLimit), WAIT_OBJECT_0) << changed;
  }
  unsigned long status = 1;
  std::atomic<bool> returned = false;
  std::thread waiting([&] {
    status = adv.WaitForChanges();
    returned = true;
  });
  // Changed until it returns: nothing tells when it has begun to wait.
  DWORD number = 0;
  EXPECT_TRUE(Eventually([&] {
    PutNumber(kNow, ++number);
    return returned.load();
  }));
  waiting.join();
  EXPECT_EQ(status, 0u);
}

}  // namespace
