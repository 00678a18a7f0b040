#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <sddl.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/handle_counter.h"
#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/wine.h"
#include "vtclass/config.h"

namespace {

using vtclass::test::HandleCounter;
using vtclass::test::ImportHook;
using vtclass::test::KeyExists;
using vtclass::test::MakeKey;
using vtclass::test::Status;
using vtclass::test::StoreValue;

constexpr wchar_t kKey[] = L"Software\\A\\B";
constexpr unsigned kReadWrite = Configuration::accessRead | Configuration::accessWrite;

class ConfigurationTest : public testing::Test {
 protected:
  // As on every real system; only what lies below it may come and go.
  ConfigurationTest() { MakeKey(L"Software"); }
  std::string Result(bool ok) { return Status(ok ? 0 : settings.GetErrorCode()); }

  vtclass::test::PrivateRegistry registry;
  Configuration settings;
  unsigned long disposition = 77;
};

std::wstring OwnName() {
  wchar_t name[MAX_COMPUTERNAME_LENGTH + 1] = {};
  DWORD length = ARRAYSIZE(name);
  ::GetComputerNameW(name, &length);
  return L"\\\\" + std::wstring(name);
}

OSVERSIONINFOW playedVersion;
BOOL playedAnswer;
REGSAM askedRights;
BOOL WINAPI PlayVersion(OSVERSIONINFOW* version) {
  version->dwMajorVersion = playedVersion.dwMajorVersion;
  version->dwMinorVersion = playedVersion.dwMinorVersion;
  return playedAnswer;
}
LSTATUS WINAPI RecordRights(HKEY, LPCWSTR, DWORD, REGSAM rights, PHKEY) {
  askedRights = rights;
  return ERROR_ACCESS_DENIED;
}

TEST_F(ConfigurationTest, Open_AccessWord_AsksForTheRightsOfTheTable) {
  const ImportHook<decltype(::GetVersionExW)> version("KERNEL32.dll", "GetVersionExW",
                                                      &PlayVersion);
  const ImportHook<decltype(::RegOpenKeyExW)> open("ADVAPI32.dll", "RegOpenKeyExW", &RecordRights);
  const struct {
    unsigned access;
    DWORD major, minor;
    BOOL known;
    REGSAM rights;
  } rows[] = {
      {0, 6, 1, TRUE, 0},           {1, 6, 1, TRUE, 0x20019}, {2, 6, 1, TRUE, 0x20006},
      {3, 6, 1, TRUE, 0x2001F},     {4, 5, 0, TRUE, 0},       {4, 4, 9, TRUE, 0},
      {5, 5, 1, TRUE, 0x20119},     {4, 6, 0, TRUE, 0x100},   {4, 10, 0, FALSE, 0},
      {8 | 1, 5, 0, TRUE, 0x20219}, {12, 5, 2, TRUE, 0x300},
  };
  for (const auto& row : rows) {
    playedVersion.dwMajorVersion = row.major;
    playedVersion.dwMinorVersion = row.minor;
    playedAnswer = row.known;
    EXPECT_EQ(Result(settings.Open(Configuration::openExisting, kKey, L"", row.access)),
              Status(ERROR_ACCESS_DENIED));
    EXPECT_EQ(askedRights, row.rights) << row.access << " on " << row.major << "." << row.minor;
  }
}

TEST_F(ConfigurationTest, Open_Modes_MakeAMissingKeyOrDoNot) {
  for (const int mode : {0, 3, -1}) {
    EXPECT_EQ(Result(settings.Open(Configuration::openMode(mode), kKey, nullptr, kReadWrite)),
              Status(ERROR_FILE_NOT_FOUND));
  }
  EXPECT_FALSE(KeyExists(L"Software\\A"));
  const std::wstring longName = std::wstring(kKey) + L"\\" + std::wstring(255, L'k');
  EXPECT_TRUE(settings.Open(longName.c_str(), L"", kReadWrite) && settings.SaveDWORD(L"v", 1));
  EXPECT_TRUE(settings.Open(Configuration::openOrCreateSecure, L"Software\\S", nullptr, 3));
  EXPECT_TRUE(KeyExists(longName) && KeyExists(L"Software\\S"));
}

TEST_F(ConfigurationTest, Open_OtherComputer_KeepsTheConnectionUntilClose) {
  if (!settings.Open(Configuration::openExisting, L"Software", OwnName().c_str(), 1)) {
    GTEST_SKIP() << "the remote registry of this computer does not answer: " << Result(false);
  }
  settings.Close();
  const HandleCounter handles;
  EXPECT_EQ(Result(settings.Open(Configuration::openExisting, kKey, OwnName().c_str(), 1)),
            Status(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(handles.Open(), 1);
  // On this computer whatever is connected, and without ending the connection.
  EXPECT_TRUE(settings.OpenEx(L"Software", KEY_READ, 0, true, nullptr));
  EXPECT_EQ(handles.Open(), 2);
  settings.Close();
  EXPECT_EQ(handles.Open(), 0);
}

// A private root has no 32-bit view, so the view is looked at where it reaches the system.
REGSAM deletedView;
LSTATUS WINAPI RecordView(HKEY key, LPCWSTR subkey, REGSAM view, DWORD reserved) {
  deletedView = view;
  return ::RegDeleteKeyExW(key, subkey, view, reserved);
}

TEST_F(ConfigurationTest, OpenEx_RefusingToCreate_LeavesWhatWasThereAndNothingElse) {
  MakeKey(L"Software\\A");
  const ImportHook<decltype(::RegDeleteKeyExW)> hook("ADVAPI32.dll", "RegDeleteKeyExW",
                                                     &RecordView);
  const struct {
    const wchar_t* key;
    REGSAM view;
  } rows[] = {{L"Software\\A\\B", 0},
              {L"Software\\A\\B\\C\\\\D\\", KEY_WOW64_64KEY},
              {L"Software\\A\\B\\C", KEY_WOW64_32KEY}};
  for (const auto& row : rows) {
    EXPECT_EQ(Result(settings.OpenEx(row.key, KEY_READ | row.view, 0, false, &disposition)),
              Status(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(disposition, static_cast<unsigned long>(REG_CREATED_NEW_KEY));
    EXPECT_FALSE(KeyExists(kKey));
    EXPECT_TRUE(KeyExists(L"Software\\A")) << "was there before";
    EXPECT_EQ(deletedView, row.view);
    EXPECT_FALSE(settings.SaveDWORD(L"v", 1));
  }
  EXPECT_TRUE(settings.OpenEx(L"Software\\A", KEY_READ, 0, false, &disposition));
  EXPECT_EQ(disposition, static_cast<unsigned long>(REG_OPENED_EXISTING_KEY));
  EXPECT_TRUE(settings.OpenEx(kKey, KEY_READ, REG_OPTION_VOLATILE, true, &disposition));
  EXPECT_EQ(disposition, static_cast<unsigned long>(REG_CREATED_NEW_KEY));
  // A permanent key cannot lie below a volatile one: the failure comes after nothing was made.
  EXPECT_EQ(Result(settings.OpenEx(L"Software\\A\\B\\C", KEY_READ, 0, false, &disposition)),
            Status(ERROR_CHILD_MUST_BE_VOLATILE));
  EXPECT_EQ(disposition, 0u);
}

/* Plays another program: it writes a value at once into the key that was just made. */
LSTATUS WINAPI CreateAndFill(HKEY key, LPCWSTR subkey, DWORD reserved, LPWSTR kind, DWORD options,
                             REGSAM access, LPSECURITY_ATTRIBUTES security, PHKEY result,
                             LPDWORD how) {
  const LSTATUS status =
      ::RegCreateKeyExW(key, subkey, reserved, kind, options, access, security, result, how);
  StoreValue(kKey, L"other program's", REG_SZ, "", 0);
  return status;
}

TEST_F(ConfigurationTest, OpenEx_RefusingToCreate_NeverTakesAwayAnotherProgramsValues) {
  const ImportHook<decltype(::RegCreateKeyExW)> hook("ADVAPI32.dll", "RegCreateKeyExW",
                                                     &CreateAndFill);
  EXPECT_FALSE(settings.OpenEx((kKey + std::wstring(L"\\C")).c_str(), KEY_READ, 0, false, nullptr));
  EXPECT_TRUE(KeyExists(kKey));
  EXPECT_FALSE(KeyExists(kKey + std::wstring(L"\\C")));
}

LSTATUS WINAPI RefuseCreate(HKEY, LPCWSTR, DWORD, LPWSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES,
                            PHKEY, LPDWORD) {
  return ERROR_ACCESS_DENIED;
}
LSTATUS WINAPI RefuseConnect(LPCWSTR, HKEY, PHKEY) { return ERROR_BAD_NETPATH; }
BOOL WINAPI RefuseDescriptor(LPCWSTR, DWORD, PSECURITY_DESCRIPTOR*, PULONG) { return FALSE; }
long freed;
HLOCAL WINAPI CountFree(HLOCAL memory) {
  ++freed;
  return ::LocalFree(memory);
}

TEST_F(ConfigurationTest, FailingOpens_TenThousandTimes_LeaveNoHandleOpen) {
  const ImportHook<decltype(::LocalFree)> localFree("KERNEL32.dll", "LocalFree", &CountFree);
  const HandleCounter handles;
  const ImportHook<decltype(::RegConnectRegistryW)> connect("ADVAPI32.dll", "RegConnectRegistryW",
                                                            &RefuseConnect);
  constexpr int kTimes = 10000;
  const auto repeat = [&](long status, const std::function<bool()>& open) {
    for (int i = 0; i < kTimes; ++i) ASSERT_FALSE(open());
    EXPECT_EQ(Result(false), Status(status));
    EXPECT_EQ(handles.Open(), 0);
  };
  repeat(ERROR_FILE_NOT_FOUND,
         [&] { return settings.Open(Configuration::openExisting, kKey, nullptr, kReadWrite); });
  repeat(ERROR_FILE_NOT_FOUND,
         [&] { return settings.OpenEx(kKey, KEY_READ, 0, false, &disposition); });
  repeat(ERROR_BAD_NETPATH, [&] { return settings.Open(kKey, L"elsewhere", kReadWrite); });
  repeat(ERROR_BAD_NETPATH, [&] {
    return CRegistryKeysIterator(kKey, HKEY_LOCAL_MACHINE, 0).isValid() ||
           CRegistryValuesIterator(kKey, HKEY_LOCAL_MACHINE, 0).isValid();
  });
  const ImportHook<decltype(::RegCreateKeyExW)> create("ADVAPI32.dll", "RegCreateKeyExW",
                                                       &RefuseCreate);
  const auto secure = [&] {
    return settings.Open(Configuration::openOrCreateSecure, kKey, nullptr, kReadWrite);
  };
  repeat(ERROR_ACCESS_DENIED, [&] { return settings.Open(kKey, nullptr, kReadWrite); });
  repeat(ERROR_ACCESS_DENIED, [&] { return settings.OpenEx(kKey, KEY_READ, 0, true, nullptr); });
  freed = 0;
  repeat(ERROR_ACCESS_DENIED, secure);
  EXPECT_EQ(freed, kTimes) << "descriptors";
  const ImportHook<decltype(::ConvertStringSecurityDescriptorToSecurityDescriptorW)> descriptor(
      "ADVAPI32.dll", "ConvertStringSecurityDescriptorToSecurityDescriptorW", &RefuseDescriptor);
  repeat(-1, secure);
}

TEST_F(ConfigurationTest, Enum_AppendsBelowTheLocalMachineWhateverTheRoot) {
  Configuration other(HKEY_CURRENT_USER);
  const std::wstring longName(255, L'k');
  MakeKey(std::wstring(kKey) + L"\\" + longName);
  MakeKey(std::wstring(kKey) + L"\\x");
  std::vector<wcstring> names = {L"before"};
  EXPECT_FALSE(other.Enum(L"Software\\Missing", names));
  EXPECT_EQ(other.GetErrorCode(), 0);
  {
    vtclass::test::Allocations allocations;
    allocations.FailAt(2);
    EXPECT_FALSE(other.Enum(kKey, names));
  }
  EXPECT_EQ(names, (std::vector<wcstring>{L"before"}));
  EXPECT_TRUE(other.Enum(kKey, names));
  ASSERT_EQ(names.size(), 3u);
  EXPECT_EQ(names[1].size() + names[2].size(), 256u);
}

DWORD restoreFlags;
LSTATUS WINAPI RecordRestore(HKEY, LPCWSTR, DWORD flags) {
  restoreFlags = flags;
  return ERROR_PRIVILEGE_NOT_HELD;
}

LSTATUS EnableBackupPrivilege() {
  HANDLE token = nullptr;
  TOKEN_PRIVILEGES wanted = {1, {{{}, SE_PRIVILEGE_ENABLED}}};
  ::OpenProcessToken(::GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token);
  ::LookupPrivilegeValueW(nullptr, SE_BACKUP_NAME, &wanted.Privileges[0].Luid);
  ::AdjustTokenPrivileges(token, FALSE, &wanted, 0, nullptr, nullptr);
  const DWORD status = ::GetLastError();
  ::CloseHandle(token);
  return static_cast<LSTATUS>(status);
}

TEST_F(ConfigurationTest, SaveKeyRestoreKeyDeleteSubkey_PassTheSystemsStatusOn) {
  const vtclass::test::ScratchFolder folder;
  const ImportHook<decltype(::RegRestoreKeyW)> hook("ADVAPI32.dll", "RegRestoreKeyW",
                                                    &RecordRestore);
  MakeKey(L"Software\\A\\B\\C");
  ASSERT_TRUE(settings.Open(L"Software\\A", nullptr, kReadWrite));
  EXPECT_EQ(Result(settings.DeleteSubkey(L"B")), Status(ERROR_ACCESS_DENIED)) << "has subkeys";
  EXPECT_EQ(Result(settings.DeleteSubkey(nullptr)), Status(ERROR_INVALID_PARAMETER));
  EXPECT_TRUE(settings.DeleteSubkey(L"B\\C") && settings.DeleteSubkey(L"B"));
  EXPECT_FALSE(KeyExists(kKey));
  EXPECT_EQ(Result(settings.SaveKey(nullptr)), Status(ERROR_INVALID_PARAMETER));
  EXPECT_EQ(Result(settings.RestoreKey(L"")), Status(ERROR_INVALID_PARAMETER));
  restoreFlags = 77;
  EXPECT_EQ(Result(settings.RestoreKey(L"file")), Status(ERROR_PRIVILEGE_NOT_HELD));
  EXPECT_EQ(restoreFlags, 0u);
  EXPECT_EQ(Result(settings.SaveKey((folder / L"a").c_str())), Status(ERROR_PRIVILEGE_NOT_HELD));
  if (EnableBackupPrivilege() != ERROR_SUCCESS) {
    GTEST_SKIP() << "this account does not hold the backup privilege";
  }
  EXPECT_EQ(Result(settings.SaveKey((folder / L"a").c_str())), Status(0));
  EXPECT_FALSE(vtclass::test::FileBytes(folder / L"a").empty());
}

TEST_F(ConfigurationTest, RegisterForChanges_SignalsOnceForAChangeBelow) {
  const HANDLE event = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  MakeKey(kKey);
  ASSERT_TRUE(settings.Open(Configuration::openExisting, L"Software\\A", nullptr, 1));
  ASSERT_TRUE(settings.RegisterForChanges(true, event));
  EXPECT_EQ(::WaitForSingleObject(event, 0), static_cast<DWORD>(WAIT_TIMEOUT));
  StoreValue(kKey, L"v", REG_DWORD, "1234", 4);
  EXPECT_EQ(::WaitForSingleObject(event, 10000), WAIT_OBJECT_0);
  EXPECT_EQ(Result(settings.UnregisterForChanges(event)), Status(ERROR_INVALID_FUNCTION));
  settings.Close();
  EXPECT_EQ(Result(settings.RegisterForChanges(true, event)), Status(ERROR_INVALID_HANDLE));
  ::CloseHandle(event);
}

}  // namespace
