#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <sddl.h>

#include <functional>
#include <set>
#include <tuple>

#include "config/multi_string.h"
#include "tests/support/allocations.h"
#include "tests/support/handle_counter.h"
#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/wine.h"
#include "vtclass/config.h"

namespace {

using namespace std::string_literals;
using namespace vtclass::test;
using Texts = std::vector<wcstring>;

constexpr wchar_t kKey[] = L"Software\\A\\B";
constexpr unsigned kReadWrite = Configuration::accessRead | Configuration::accessWrite;

// Sizes that the registry cannot count are refused, not cut; no test can hold such a text.
static_assert(vtclass::config::StoredSize(0x7FFFFFFF) == 0xFFFFFFFE);
static_assert(!vtclass::config::StoredSize(0x80000000) && !vtclass::config::StoredSize(SIZE_MAX));

class ConfigurationTest : public testing::Test {
 protected:
  // As on every real system; what lies below it may come and go.
  ConfigurationTest() { MakeKey(L"Software"); }
  std::string Result(bool ok) { return Status(ok ? 0 : settings.GetErrorCode()); }

  PrivateRegistry registry;
  Configuration settings;
  unsigned long disposition = 77;
};

class ConfigurationValues : public ConfigurationTest {
 protected:
  ConfigurationValues() { EXPECT_TRUE(settings.Open(kKey, nullptr, kReadWrite)); }
};

std::string Bytes(const std::wstring& text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

// Stores the value "v" as it is; the system must find no zero behind it, or it would add one.
void Put(DWORD type, const std::string& data) {
  StoreValue(kKey, L"v", type, (data + "xx").data(), static_cast<DWORD>(data.size()));
}

TEST_F(ConfigurationTest, Open_AccessWord_AsksForTheRightsOfTheTable) {
  DWORD playedVersion = 0;  // 51 is 5.1; 0: not known
  REGSAM asked = 0;
  const auto version =
      Replace<BOOL WINAPI(OSVERSIONINFOW*)>("GetVersionExW", [&](OSVERSIONINFOW* answer) {
        answer->dwMajorVersion = playedVersion / 10, answer->dwMinorVersion = playedVersion % 10;
        return playedVersion != 0;
      });
  const auto open = Replace<decltype(::RegOpenKeyExW)>(
      "RegOpenKeyExW", [&](auto, auto, auto, REGSAM rights, auto) {
        return asked = rights, LSTATUS{ERROR_ACCESS_DENIED};
      });
  // Access word, version of the system, rights.
  const unsigned rows[][3] = {
      {0, 61, 0}, {1, 61, 0x20019}, {2, 61, 0x20006}, {3, 61, 0x2001F}, {4, 50, 0},      {4, 49, 0},
      {4, 0, 0},  {4, 60, 0x100},   {5, 51, 0x20119}, {9, 50, 0x20219}, {12, 100, 0x300}};
  for (const auto& [word, system, rights] : rows) {
    playedVersion = system;
    EXPECT_FALSE(settings.Open(Configuration::openExisting, kKey, L"", word));
    EXPECT_EQ(asked, rights) << word << " on " << system;
  }
}

TEST_F(ConfigurationTest, Open_Modes_MakeAMissingKeyOrDoNot) {
  for (const int mode : {0, 3, -1}) {
    EXPECT_FALSE(settings.Open(Configuration::openMode(mode), kKey, nullptr, kReadWrite));
    EXPECT_EQ(settings.GetErrorCode(), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(KeyExists(L"Software\\A"));
  }
  const std::wstring longName = kKey + L"\\"s + std::wstring(255, L'k');
  EXPECT_TRUE(settings.Open(longName.c_str(), L"", kReadWrite));
  EXPECT_TRUE(KeyExists(longName));
  EXPECT_TRUE(settings.Open(Configuration::openOrCreateSecure, L"Software\\S", nullptr, 3));
}

TEST_F(ConfigurationTest, Open_OtherComputer_OpensBelowItsRoot_AndKeepsTheConnection) {
  static int connections, closed;
  const ImportHook<decltype(::RegConnectRegistryW)> connect(
      "ADVAPI32.dll", "RegConnectRegistryW", [](LPCWSTR, HKEY root, PHKEY remote) {
        return ++connections, ::RegOpenKeyExW(root, L"Software\\A", 0, KEY_READ, remote);
      });
  const ImportHook<decltype(::RegCloseKey)> close(
      "ADVAPI32.dll", "RegCloseKey", [](HKEY key) { return ++closed, ::RegCloseKey(key); });
  connections = 0;
  MakeKey(kKey);
  EXPECT_TRUE(settings.Open(Configuration::openExisting, L"B", L"elsewhere", 1));
  closed = 0;
  // OpenEx stays on this computer whatever is connected, and does not end the connection.
  for (const bool allowCreate : {false, true}) {
    EXPECT_TRUE(settings.OpenEx(L"Software", KEY_READ, 0, allowCreate, nullptr));
  }
  EXPECT_FALSE(KeyExists(L"Software\\A\\Software"));
  EXPECT_EQ(connections, 1);
  EXPECT_EQ(closed, 2) << "the key before";
  settings.Close();
  EXPECT_EQ(closed, 4) << "the key and the connection";
}

// Two that test for one key at once would each take the other's creation for a key that exists.
TEST_F(ConfigurationTest, OpenEx_RefusingToCreate_CreatesNothingAndTellsWhatItFound) {
  int created = 0;
  LSTATUS firstLook = 0;
  REGSAM asked = 0;
  const auto create = Replace<decltype(::RegCreateKeyExW)>(
      "RegCreateKeyExW", [&](auto... all) { return ++created, ::RegCreateKeyExW(all...); });
  const auto open = Replace<decltype(::RegOpenKeyExW)>(
      "RegOpenKeyExW", [&](HKEY root, LPCWSTR key, DWORD options, REGSAM rights, PHKEY opened) {
        asked = rights;
        return firstLook ? firstLook : ::RegOpenKeyExW(root, key, options, rights, opened);
      });
  ASSERT_TRUE(settings.OpenEx(L"Software\\V", KEY_READ, REG_OPTION_VOLATILE, true, &disposition));
  EXPECT_EQ(disposition, 1u);
  created = 0;
  const struct {
    const wchar_t* key;
    DWORD options, view;
    LSTATUS refused, status;
    unsigned long disposition;
  } rows[] = {{kKey, 0, 0, 0, 2, 1},
              {L"Software\\A\\B\\\\C\\", 0, KEY_WOW64_64KEY, 0, 2, 1},
              {kKey, REG_OPTION_VOLATILE, KEY_WOW64_32KEY, 0, 2, 1},
              {L"Software\\V\\B", 0, 0, 0, 2, 1},
              {L"Software", 0, 0, 0, 0, 2},
              {L"Software", REG_OPTION_VOLATILE | REG_OPTION_CREATE_LINK, 0, 0, 0, 2},
              {kKey, 0, 0, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED, 0},
              {L"Software", 0, 0, ERROR_NO_SYSTEM_RESOURCES, ERROR_NO_SYSTEM_RESOURCES, 0}};
  for (const auto& row : rows) {
    firstLook = row.refused;
    const bool ok = settings.OpenEx(row.key, KEY_READ | row.view, row.options, false, &disposition);
    EXPECT_EQ(Result(ok), Status(row.status)) << row.key;
    EXPECT_EQ(disposition, row.disposition) << row.key;
    EXPECT_EQ(asked, KEY_READ | row.view);
    const CRegistryKeysIterator keys(row.key, HKEY_LOCAL_MACHINE, row.options);
    EXPECT_EQ(keys.isValid(), row.status == 0);
  }
  firstLook = 0;
  EXPECT_EQ(created, 0);
  EXPECT_FALSE(KeyExists(L"Software\\A"));
}

TEST_F(ConfigurationTest, OpenEx_FailedCreation_HasNoDisposition) {
  const auto hook = Replace<decltype(::RegCreateKeyExW)>("RegCreateKeyExW", [](auto... all) {
    *std::get<8>(std::tuple(all...)) = REG_CREATED_NEW_KEY;
    return LSTATUS{ERROR_ACCESS_DENIED};
  });
  EXPECT_FALSE(settings.OpenEx(kKey, KEY_READ, 0, true, &disposition));
  EXPECT_EQ(disposition, 0u);
}

TEST_F(ConfigurationTest, FailingOpens_LeaveNothingOpen) {
  const HandleCounter handles;
  const auto expect = [&](long status, const std::function<bool()>& open) {
    EXPECT_FALSE(open());
    EXPECT_EQ(settings.GetErrorCode(), status);
    EXPECT_EQ(handles.Open(), 0);
  };
  const auto open = [&](int mode, const wchar_t* machine) {
    return settings.Open(Configuration::openMode(mode), kKey, machine, kReadWrite);
  };
  expect(2, [&] { return open(0, nullptr); });
  expect(2, [&] { return settings.OpenEx(kKey, KEY_READ, 0, false, &disposition); });
  expect(2, [] { return CRegistryValuesIterator(kKey, HKEY_LOCAL_MACHINE, 0).isValid(); });
  const auto connect = Replace<decltype(::RegConnectRegistryW)>(
      "RegConnectRegistryW", [](auto...) { return LSTATUS{ERROR_BAD_NETPATH}; });
  expect(ERROR_BAD_NETPATH, [&] { return open(1, L"elsewhere"); });
  const auto create = Replace<decltype(::RegCreateKeyExW)>(
      "RegCreateKeyExW", [](auto...) { return LSTATUS{ERROR_ACCESS_DENIED}; });
  int freed = 0;
  const auto free = Replace<decltype(::LocalFree)>(
      "LocalFree", [&](HLOCAL memory) { return ++freed, ::LocalFree(memory); });
  expect(ERROR_ACCESS_DENIED, [&] { return open(1, nullptr) || open(2, nullptr); });
  EXPECT_EQ(freed, 1) << "the descriptor";
  const auto descriptor = Replace<decltype(::ConvertStringSecurityDescriptorToSecurityDescriptorW)>(
      "ConvertStringSecurityDescriptorToSecurityDescriptorW", [](auto...) { return FALSE; });
  expect(-1, [&] { return open(2, nullptr); });
}

TEST_F(ConfigurationTest, Enum_AppendsBelowTheLocalMachineWhateverTheRoot) {
  Configuration other(HKEY_CURRENT_USER);
  const wcstring longName(std::wstring(255, L'k'));
  MakeKey(kKey + L"\\"s + longName);
  MakeKey(kKey + L"\\x"s);
  Texts names = {L"before"};
  EXPECT_FALSE(other.Enum(L"Software\\Missing", names));
  EXPECT_FALSE(other.GetErrorCode());
  bool isDone = false;
  TryEachAllocation([&] { isDone = other.Enum(kKey, names); },
                    [&](bool failed) { EXPECT_NE(isDone, failed); });
  EXPECT_EQ(std::set(names.begin(), names.end()), (std::set<wcstring>{L"before", L"x", longName}));
}

bool SetBackupPrivilege(bool isEnabled) {
  HANDLE token = nullptr;
  TOKEN_PRIVILEGES wanted = {1, {{{}, isEnabled ? SE_PRIVILEGE_ENABLED : 0ul}}};
  ::OpenProcessToken(::GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token);
  ::LookupPrivilegeValueW(nullptr, SE_BACKUP_NAME, &wanted.Privileges[0].Luid);
  ::AdjustTokenPrivileges(token, FALSE, &wanted, 0, nullptr, nullptr);
  return ::GetLastError() == ERROR_SUCCESS && ::CloseHandle(token);
}

TEST_F(ConfigurationValues, WholeKey_PassesTheSystemsStatusOn) {
  const ScratchFolder folder;
  const auto hook =
      Replace<decltype(::RegRestoreKeyW)>("RegRestoreKeyW", [](auto, auto, DWORD flags) {
        return LSTATUS{flags == 0 ? ERROR_PRIVILEGE_NOT_HELD : ERROR_INVALID_PARAMETER};
      });
  MakeKey(kKey + L"\\C\\D"s);
  SetBackupPrivilege(false);  // a pass before this one has enabled it
  EXPECT_EQ(Result(settings.DeleteSubkey(L"C")), Status(ERROR_ACCESS_DENIED)) << "has subkeys";
  EXPECT_TRUE(settings.DeleteSubkey(L"C\\D"));
  EXPECT_TRUE(settings.DeleteSubkey(L"C"));
  EXPECT_EQ(Result(settings.RestoreKey(L"file")), Status(ERROR_PRIVILEGE_NOT_HELD));
  EXPECT_EQ(Result(settings.RestoreKey(L"")), Status(ERROR_INVALID_PARAMETER));
  EXPECT_EQ(Result(settings.SaveKey((folder / L"a").c_str())), Status(ERROR_PRIVILEGE_NOT_HELD));
  EXPECT_EQ(Result(settings.SaveKey(nullptr)), Status(ERROR_INVALID_PARAMETER));
  if (!SetBackupPrivilege(true)) GTEST_SKIP() << "this account lacks the backup privilege";
  EXPECT_EQ(Result(settings.SaveKey((folder / L"a").c_str())), Status(0));
  EXPECT_FALSE(FileBytes(folder / L"a").empty());
}

TEST_F(ConfigurationValues, RegisterForChanges_SignalsAChangeBelow) {
  const HANDLE event = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  ASSERT_TRUE(settings.RegisterForChanges(true, event));
  EXPECT_NE(::WaitForSingleObject(event, 0), WAIT_OBJECT_0);
  MakeKey(kKey + L"\\C"s);
  EXPECT_EQ(::WaitForSingleObject(event, 10000), WAIT_OBJECT_0);
  EXPECT_EQ(Result(settings.UnregisterForChanges(event)), Status(ERROR_INVALID_FUNCTION));
  settings.Close();
  EXPECT_EQ(Result(settings.RegisterForChanges(true, event)), Status(ERROR_INVALID_HANDLE));
  ::CloseHandle(event);
}

TEST_F(ConfigurationValues, Load_MissingOrWrongValue_WritesDefaultBack) {
  unsigned long number = 0;
  wcstring text;
  Put(REG_SZ, Bytes(L"text"));
  EXPECT_TRUE(settings.Load(L"v", number, 7));
  EXPECT_TRUE(settings.Load(L"t", text, L"def"));
  EXPECT_EQ(settings.GetErrorCode(), ERROR_FILE_NOT_FOUND) << "a success resets no status";
  EXPECT_TRUE(settings.Load(L"v", number, 8));
  EXPECT_EQ(number, 7u);
  EXPECT_TRUE(settings.Load(L"t", text, L"other"));
  EXPECT_EQ(text, L"def");
  // The name, then the default, lies in the text that is filled.
  text = wcstring(L"inside");
  EXPECT_TRUE(settings.Load(text.c_str(), text, L"def"));
  EXPECT_EQ(text, L"def");
  text = wcstring(L"its default");
  EXPECT_TRUE(settings.Load(L"d", text, text.c_str() + 4));
  EXPECT_EQ(text, L"default");
  for (const auto& [name, stored] : {std::pair(L"inside", L"def"), {L"d", L"default"}}) {
    wcstring read;
    EXPECT_TRUE(settings.Load(name, read)) << name;
    EXPECT_EQ(read, stored) << name;
  }
  ASSERT_TRUE(settings.Open(kKey, nullptr, Configuration::accessRead));
  EXPECT_EQ(Result(settings.Load(L"absent", number, 9)), Status(ERROR_ACCESS_DENIED));
  EXPECT_EQ(Result(settings.Load(L"absent", text, L"x")), Status(ERROR_ACCESS_DENIED));
  EXPECT_EQ(number, 9u);
  EXPECT_EQ(text, L"x");
}

// What cannot be read may well be right. The key may be written, so that only the rule protects it.
TEST_F(ConfigurationValues, Load_FailsForAnotherReason_GivesTheDefaultAndWritesNothing) {
  LSTATUS unreadable = 0;
  const auto hook = Replace<decltype(::RegQueryValueExW)>("RegQueryValueExW", [&](auto... all) {
    return unreadable ? unreadable : ::RegQueryValueExW(all...);
  });
  Put(REG_DWORD, "\1\2\3\4");
  const auto load = [&](LSTATUS status) {
    unsigned long number = 0;
    wcstring text;
    EXPECT_EQ(Result(settings.Load(L"v", number, 7)), Status(status));
    EXPECT_EQ(Result(settings.Load(L"v", text, L"x")), Status(status));
    EXPECT_EQ(number, 7u);
    EXPECT_EQ(text, L"x");
    EXPECT_EQ(StoredValue(kKey, L"v"), "\1\2\3\4");
  };
  for (const LSTATUS status : {ERROR_ACCESS_DENIED, ERROR_NOT_ENOUGH_MEMORY, ERROR_KEY_DELETED,
                               RPC_S_SERVER_UNAVAILABLE}) {
    unreadable = status;
    load(status);
  }
  unreadable = 0;
  ASSERT_TRUE(settings.Open(kKey, nullptr, Configuration::accessWrite));
  load(ERROR_ACCESS_DENIED);
}

TEST_F(ConfigurationValues, Load_AnyStoredBytes_ByTypeFirst) {
  const struct {
    DWORD type;
    std::string data;
    bool isText, isNumber;
    std::wstring text;
    Texts items;
  } rows[] = {
      {REG_SZ, "", true, false, L"", {}},
      {REG_SZ, "a", true, false, L"", {}},
      {REG_SZ, Bytes(L"a"), true, false, L"", {L"a"}},
      {REG_SZ, Bytes(L"a") + "b", true, false, L"", {L"a"}},
      {REG_SZ, Bytes(L"ab"), true, false, L"a", {L"ab"}},
      {REG_EXPAND_SZ, Bytes(L"%TMP%\0"s), true, false, L"%TMP%", {L"%TMP%"}},
      {REG_MULTI_SZ, Bytes(L"a\0\0b\0\0"s), true, false, L"a\0\0b\0"s, {L"a", L"b"}},
      {REG_MULTI_SZ, Bytes(L"\0\0a\0b"s) + "c", true, false, L"\0\0a\0"s, {L"a", L"b"}},
      {REG_MULTI_SZ, Bytes(L"\0\0\0"s), true, false, L"\0\0"s, {}},
      {REG_DWORD, "\1\2\3\4", false, true, L"before", {}},
      {REG_DWORD, "\1\2\3", false, false, L"before", {}},
      {REG_DWORD, "\1\2\3\4\5", false, false, L"before", {}},
      {REG_NONE, "", false, false, L"before", {}},
      {REG_BINARY, std::string(5000, 'x'), false, false, L"before", {}},
  };
  for (const auto& row : rows) {
    Put(row.type, row.data);
    unsigned long number = 99;
    wcstring text = L"before";
    Texts items = {L"before"};
    EXPECT_EQ(Result(settings.Load(L"v", text)), Status(row.isText ? 0 : -1)) << row.data;
    EXPECT_EQ(Result(settings.Load(L"v", items)), Status(row.isText ? 0 : -1)) << row.data;
    EXPECT_EQ(Result(settings.LoadDWORD(L"v", number)), Status(row.isNumber ? 0 : -1)) << row.data;
    EXPECT_EQ(text, row.text) << row.data;
    EXPECT_EQ(items, row.items) << row.data;
    EXPECT_EQ(number, row.isNumber ? 0x04030201u : 99u);
  }
}

TEST_F(ConfigurationValues, LoadText_ValueGrowsBetweenTheQueries_IsReadAgainButNotForEver) {
  std::size_t stored = 0, storedLimit = 0;
  const auto hook = Replace<decltype(::RegQueryValueExW)>("RegQueryValueExW", [&](auto... all) {
    const LSTATUS status = ::RegQueryValueExW(all...);
    const bool grows = status == ERROR_MORE_DATA && stored < storedLimit;
    if (grows) Put(REG_SZ, std::string(stored += 3000, 'x'));
    return status;
  });
  wcstring text;
  Put(REG_SZ, std::string(stored = 3000, 'x'));
  storedLimit = 12000;
  EXPECT_TRUE(settings.Load(L"v", text));
  EXPECT_EQ(text.size(), 12000u / 2 - 1);
  storedLimit = SIZE_MAX;
  EXPECT_EQ(Result(settings.Load(L"v", text)), Status(ERROR_MORE_DATA));
}

TEST_F(ConfigurationValues, LoadData_TellsLengthsAndRefusesOtherTypes) {
  unsigned char room[4] = {};
  unsigned long size = 4;
  unsigned long type = 0;
  Put(REG_BINARY, "12345");
  EXPECT_EQ(Result(settings.Load(L"v", room, &size)), Status(ERROR_MORE_DATA));
  EXPECT_EQ(Result(settings.LoadRaw(L"v", room, 4, 0)), Status(ERROR_MORE_DATA));
  EXPECT_TRUE(settings.Load(L"v", nullptr, &size));
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(Result(settings.Load(L"v", room, nullptr)), Status(ERROR_INVALID_PARAMETER));
  EXPECT_EQ(Result(settings.Save(L"v", nullptr, 2)), Status(ERROR_INVALID_PARAMETER));
  EXPECT_TRUE(settings.Save(L"v", room, 0));
  EXPECT_TRUE(settings.GetDataSize(L"v", &size, &type));
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(type, static_cast<unsigned long>(REG_BINARY));
  ASSERT_TRUE(settings.SaveRaw(L"v", room, 4, 77));
  ASSERT_TRUE(settings.LoadRaw(L"v", room, 4, REG_SZ));
  for (size = 3; size < 5; ++size) EXPECT_EQ(Result(settings.Load(L"v", room, &size)), Status(-1));
}

TEST_F(ConfigurationValues, Save_AnyNameAndLength_ComesBack) {
  for (const std::size_t units : {0u, 1022u, 1023u, 1024u, 1025u, 512u * 1024}) {
    const std::wstring name(std::min(units, std::size_t{16383}), L'n');
    const wcstring saved(std::wstring(units, L'x') + L"\0%x%"s);
    wcstring text;
    Texts items = {saved, L"", L"b"};
    EXPECT_TRUE(settings.Save(name.c_str(), saved, REG_EXPAND_SZ));
    EXPECT_TRUE(settings.Load(name.c_str(), text)) << units;
    EXPECT_EQ(text, saved) << units;
    EXPECT_TRUE(settings.Save(name.c_str(), items));
    EXPECT_TRUE(settings.Load(name.c_str(), items));
    EXPECT_EQ(items.back(), L"b");
    EXPECT_EQ(items.size(), units == 0 ? 2u : 3u);
    EXPECT_TRUE(settings.DeleteValue(name.c_str()));
    EXPECT_FALSE(settings.DeleteValue(name.c_str()));
  }
  Texts none;
  EXPECT_TRUE(settings.Save(nullptr, none));
  EXPECT_TRUE(settings.Load(nullptr, none));
  EXPECT_TRUE(none.empty());
  EXPECT_EQ(StoredValue(kKey, L""), "\0\0"s);
}

TEST_F(ConfigurationValues, NoMemoryOrClosedObject_GivesAStatusAndThrowsNothing) {
  const wcstring longText(std::wstring(5000, L'x'));
  wcstring text;
  Texts items;
  const std::function<bool()> operations[] = {
      [&] { return settings.Save(L"text", longText); },
      [&] { return settings.Load(L"text", text); },
      [&] { return settings.Load(L"text", text, longText.c_str()); },
      [&] { return settings.Save(L"items", items); },
      [&] { return settings.Load(L"items", items); },
  };
  ASSERT_TRUE(operations[0]());
  long failures = 0;
  for (const auto& operation : operations) {
    bool ok = false;
    const auto work = [&] {
      text = wcstring(L"before");
      items = {longText, longText};
      ok = operation();
    };
    const auto check = [&](bool failed) {
      if (!failed) return;
      EXPECT_EQ(Result(ok), Status(ERROR_NOT_ENOUGH_MEMORY));
      EXPECT_EQ(items.size(), &operation == &operations[4] ? 0u : 2u);
      EXPECT_GT(StoredValue(kKey, L"text").size(), 10000u) << "a default took its place";
    };
    failures += TryEachAllocation(work, check);
  }
  EXPECT_GE(failures, 4);  // those of the caller: tests/border_test.cpp
  settings.Close();
  for (const auto& operation : operations) {
    EXPECT_EQ(Result(operation()), Status(ERROR_INVALID_HANDLE));
  }
}

}  // namespace
