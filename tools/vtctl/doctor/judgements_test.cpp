// What each check says of what it may find.
#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <sddl.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/owned.h"
#include "tests/support/private_registry.h"
#include "tests/support/scratch_folder.h"
#include "tools/vtctl/doctor/advertisement_check.h"
#include "tools/vtctl/doctor/checks.h"
#include "tools/vtctl/doctor/clock_check.h"
#include "tools/vtctl/doctor/cluster_check.h"
#include "tools/vtctl/doctor/credentials_check.h"
#include "tools/vtctl/doctor/identity_check.h"
#include "tools/vtctl/doctor/keys_check.h"
#include "tools/vtctl/doctor/libraries_check.h"
#include "tools/vtctl/doctor/logs_check.h"
#include "tools/vtctl/doctor/resolver_check.h"
#include "tools/vtctl/doctor/values_check.h"
#include "tools/vtctl/doctor/volumes_check.h"
#include "tools/vtctl/shared/console.h"

namespace vtctl::doctor {
namespace {

using vtclass::test::MakeFile;
using vtclass::test::PrivateRegistry;
using vtclass::test::ScratchFolder;
using enum Verdict;

constexpr wchar_t kRoot[] = L"Software\\Norvane\\Vantorel For Windows\\Vantorel";

// What asks for something says why and what to do; what is well says neither.
void Expect(const Finding& finding, Verdict verdict, const std::string& code) {
  EXPECT_EQ(finding.code, code) << ToUtf8(finding.what);
  EXPECT_EQ(static_cast<int>(finding.verdict), static_cast<int>(verdict)) << code;
  EXPECT_FALSE(finding.what.empty()) << code;
  EXPECT_EQ(finding.reason.empty(), verdict == ok) << code;
  if (verdict == ok) EXPECT_TRUE(finding.remedy.empty()) << code;
  if (verdict >= warning) EXPECT_FALSE(finding.remedy.empty()) << code;
}

// No answer of this machine is waited for that long.
Findings Ran(Check check) {
  Found found(60000);
  check(found);
  return found.Take();
}

void SetList(HKEY key, const wchar_t* list) {
  vtclass::platform::OwnedLocalMemory descriptor;
  ASSERT_TRUE(::ConvertStringSecurityDescriptorToSecurityDescriptorW(
      list, SDDL_REVISION_1, descriptor.Receive(), nullptr));
  ASSERT_EQ(::RegSetKeySecurity(key, DACL_SECURITY_INFORMATION, descriptor.Get()), ERROR_SUCCESS);
}

// A key that nobody may read, for one scope.
class DeniedKey {
 public:
  explicit DeniedKey(const std::wstring& path) {
    vtclass::test::MakeKey(path);
    EXPECT_EQ(::RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, WRITE_DAC, key.Receive()), 0);
    SetList(key.Get(), L"D:(D;;KR;;;WD)(A;;KA;;;WD)");
  }
  ~DeniedKey() { SetList(key.Get(), L"D:(A;;KA;;;WD)"); }
  DeniedKey(const DeniedKey&) = delete;
  DeniedKey& operator=(const DeniedKey&) = delete;

 private:
  vtclass::platform::OwnedRegistryKey key;
};

std::string Codes(const Findings& findings) {
  std::string codes;
  for (const Finding& finding : findings)
    codes += (codes.empty() ? "" : " ") + std::string(finding.code);
  return codes;
}

TEST(DoctorKeys, Judge) {
  const KeyAccess closed = {0, false, {L"Administrators"}};
  const KeyAccess open = {0, true, {L"Users"}};
  const KeyAccess hidden = {ERROR_ACCESS_DENIED, false, {}};
  const struct {
    KeyState state;
    Verdict verdict;
    const char* code;
  } rows[] = {{{kRoot, true, 0, 0, closed}, ok, "key-usable"},
              {{kRoot, true, ERROR_FILE_NOT_FOUND, 0, {}}, warning, "key-missing"},
              {{kRoot, false, ERROR_FILE_NOT_FOUND, 0, {}}, note, "key-missing"},
              {{kRoot, false, ERROR_ACCESS_DENIED, 0, {}}, problem, "key-unreadable"},
              {{kRoot, false, 0, ERROR_ACCESS_DENIED, closed}, warning, "key-not-writable"},
              {{kRoot, false, 0, ERROR_ACCESS_DENIED, open}, problem, "key-open-to-all"},
              {{kRoot, false, 0, 0, hidden}, note, "key-rights-unknown"}};
  for (const auto& row : rows) {
    const Finding finding = JudgeKey(row.state);
    Expect(finding, row.verdict, row.code);
    EXPECT_EQ(finding.path, std::wstring(L"HKEY_LOCAL_MACHINE\\") + kRoot);
  }
  EXPECT_NE(JudgeKey(rows[0].state).what.find(L"Writers: Administrators."), std::wstring::npos);
}

TEST(DoctorKeys, EveryUser_IsFoundInTheAccessList) {
  const struct {
    const wchar_t* list;
    bool mayChange, mayRead;
  } rows[] = {{L"D:(A;;KA;;;BA)", false, false},
              {L"D:(A;;KR;;;BU)(A;;KA;;;SY)", false, true},
              {L"D:(A;;KA;;;AU)", true, true},
              {L"D:(A;;GA;;;WD)", true, true},
              {L"D:(A;;SD;;;IU)", true, false},
              {L"D:(A;CIIO;KA;;;WD)", false, false},
              {L"D:(D;;KA;;;BU)(A;;KA;;;WD)", false, false},
              {L"D:(D;;SD;;;BU)(A;;KA;;;WD)", true, true}};
  for (const auto& row : rows) {
    vtclass::platform::OwnedLocalMemory memory;
    ASSERT_TRUE(::ConvertStringSecurityDescriptorToSecurityDescriptorW(row.list, SDDL_REVISION_1,
                                                                       memory.Receive(), nullptr))
        << ToUtf8(row.list) << ::GetLastError();
    BOOL isThere = FALSE;
    BOOL isDefault = FALSE;
    ACL* list = nullptr;
    ASSERT_TRUE(::GetSecurityDescriptorDacl(memory.Get(), &isThere, &list, &isDefault));
    EXPECT_EQ(LetsEveryUser(list, kChangeRights), row.mayChange) << ToUtf8(row.list);
    EXPECT_EQ(LetsEveryUser(list, KEY_QUERY_VALUE), row.mayRead) << ToUtf8(row.list);
  }
  EXPECT_TRUE(LetsEveryUser(nullptr, kChangeRights));
}

TEST(DoctorKeys, Check_LooksBelowARootThatIsThere) {
  const PrivateRegistry registry;
  EXPECT_EQ(Codes(Ran(CheckKeys)), "key-missing");
  vtclass::test::MakeKey(kRoot);
  const Findings findings = Ran(CheckKeys);
  EXPECT_GT(findings.size(), 5u);
  EXPECT_EQ(findings[1].code, std::string("key-missing"));
}

// One value in an empty registry, and what is said of it.
TEST(DoctorValues, Check_FindsWhatDoesNotCount) {
  const std::wstring logging = std::wstring(kRoot) + L"\\Engine\\Logging";
  const std::wstring tcpIp = std::wstring(kRoot) + L"\\Network\\TcpIp";
  const std::wstring session = std::wstring(kRoot) + L"\\Session";
  const std::wstring oracle = std::wstring(kRoot) + L"\\Engine\\Agents\\Oracle\\DB1";
  const struct {
    std::wstring key;
    const wchar_t* name;
    DWORD type;
    DWORD number;
    const wchar_t* text;
    const char* code;
  } rows[] = {{logging, L"Engine NDMP Debug Level", REG_DWORD, 2, L"", "values-usable"},
              {logging, L"Engine NDMP Debug Level", REG_DWORD, 3, L"", "value-out-of-range"},
              {logging, L"MaxDebugFile Count", REG_DWORD, 0, L"", "value-out-of-range"},
              {logging, L"MaxDebugFile Enabled", REG_DWORD, 2, L"", "value-out-of-range"},
              {logging, L"CreateDebugLog", REG_DWORD, 0xFFFFFFFF, L"", "values-usable"},
              {logging, L"CreateDebugLog", REG_SZ, 0, L"1", "value-wrong-type"},
              {logging, L"MaxDebugFile Ext", REG_SZ, 0, L".old", "values-usable"},
              {logging, L"MaxDebugFile Ext", REG_SZ, 0, L"\\..\\x", "value-unusable"},
              {logging, L"MaxDebugFile Ext", REG_DWORD, 1, L"", "value-wrong-type"},
              {tcpIp, L"DnsQueryTimeOut", REG_DWORD, 60000, L"", "values-usable"},
              {tcpIp, L"DnsQueryTimeOut", REG_DWORD, 0xFFFFFFFF, L"", "values-usable"},
              {tcpIp, L"DnsQueryTimeOut", REG_DWORD, 999, L"", "value-out-of-range"},
              {session, L"Workers", REG_DWORD, 65, L"", "value-out-of-range"},
              {oracle, L"Is RAC", REG_SZ, 0, L"1", "value-wrong-type"},
              {oracle, L"DBID", REG_DWORD, 1, L"", "value-wrong-type"},
              {kRoot, L"Language", REG_SZ, 0, L"", "values-usable"},
              {kRoot, L"Language", REG_SZ, 0, L"..", "value-unusable"},
              {kRoot, L"Stranger", REG_DWORD, 7, L"", "values-usable"}};
  for (const auto& row : rows) {
    const PrivateRegistry registry;
    const auto bytes = static_cast<DWORD>((std::wcslen(row.text) + 1) * sizeof(wchar_t));
    if (row.type == REG_DWORD) {
      vtclass::test::StoreValue(row.key, row.name, REG_DWORD, &row.number, sizeof(DWORD));
    } else {
      vtclass::test::StoreValue(row.key, row.name, row.type, row.text, bytes);
    }
    const Findings findings = Ran(CheckValues);
    ASSERT_EQ(findings.size(), 1u) << ToUtf8(row.name);
    const bool isWell = row.code == std::string("values-usable");
    Expect(findings[0], isWell ? ok : warning, row.code);
    if (!isWell) EXPECT_NE(findings[0].remedy.find(row.name), std::wstring::npos);
  }
}

// Following a remedy leaves what counts as it is.
TEST(DoctorValues, Remedy_IsWhatCountsAnyway) {
  using namespace vtclass::config;
  const std::wstring root = std::wstring(L"\"HKEY_LOCAL_MACHINE\\") + kRoot;
  const struct {
    const RegistryValue& value;
    std::wstring remedy;
  } rows[] = {
      {kLogonUserType, L"reg delete " + root + L"\\Engine\\Agents\" /v \"LogonUserType\""},
      {kAdvertisingInterval,
       L"reg delete " + root + L"\\Engine\\Agents\" /v \"Advertising Interval Minutes\""},
      {kMajorVersion, L"reg delete " + root + L"\\13.0\\Install\" /v \"Major Version\""},
      {kSessionWorkers, L"reg delete " + root + L"\\Session\" /v \"Workers\""},
      {kMediaServers, L"reg delete " + root + L"\\Engine\\Agents\" /v \"Agent Directory List\""},
      {kSessionBufferSize,
       L"vtctl registry set " + root + L"\\Session\" \"Buffer Size KB\" 256 --type dword"},
      {kDatabaseName, L"\"Database Name\" \"VTDB\" --type sz"},
      {kMaxDebugFileCount, L"vtctl settings set \"MaxDebugFile Count\" 1"},
      {kSdkMaxDebugFileCount, L"vtctl settings set \"MaxDebugFile Count\" 1 --key debug"}};
  for (const auto& row : rows) {
    const StoredValue stored = {&row.value, row.value.key.Path(), Value{REG_BINARY, {1}}, 0};
    const Findings findings = JudgeValues({stored});
    ASSERT_EQ(Codes(findings), "value-wrong-type");
    EXPECT_TRUE(findings[0].remedy.ends_with(row.remedy)) << ToUtf8(findings[0].remedy);
  }
  // A number of another size has the right type.
  const StoredValue odd = {&kCreateDebugLog, kRoot, Value{REG_DWORD, {1, 0}}, 0};
  EXPECT_TRUE(JudgeValues({odd})[0].what.ends_with(L"is a REG_DWORD of 2 bytes, not of 4."));
}

// A database is named by whoever may make a key: its name does not come into a shell.
TEST(DoctorValues, Remedy_CarriesNoCommandOfAName) {
  using vtclass::config::kOracleDbId;
  for (const wchar_t* const name :
       {L"x\" & calc & \"", L"%PATH%", L"$(reboot)", L"a|b", L"<", L">", L"^", L"!x!", L"`x`",
        L"\x201Cx\x201D", L"\x1b[5m", L"\x202Egnp"}) {
    const std::wstring key = std::wstring(kRoot) + L"\\" + name;
    const Findings findings = JudgeValues({{&kOracleDbId, key, Value{REG_DWORD, {1, 0, 0, 0}}, 0}});
    ASSERT_EQ(findings.size(), 1u);
    EXPECT_EQ(findings[0].remedy.find(L"reg delete"), std::wstring::npos) << ToUtf8(name);
    EXPECT_EQ(findings[0].remedy.find(name), std::wstring::npos);
    EXPECT_NE(findings[0].remedy.find(L"\"DBID\""), std::wstring::npos);
  }
}

// What may not be read is nowhere taken for missing.
TEST(DoctorChecks, RefusedKey_IsNoGoodVerdict) {
  const struct {
    const wchar_t* key;
    Check check;
    Verdict verdict;
    const char* codes;
  } rows[] = {{L"\\Engine\\Logging", CheckLogs, problem, "logs-unknown"},
              {L"\\Debug", CheckLogs, problem, "logs-unknown logs-off"},
              {L"\\Engine\\Logging", CheckValues, warning, "value-unreadable"},
              {L"\\Engine\\Agents\\Oracle", CheckValues, warning, "value-unreadable"},
              {L"\\Engine\\Agents\\Oracle\\DB1", CheckValues, warning, "value-unreadable"},
              {L"\\Engine\\Agents", CheckAdvertisement, problem, "agent-unknown"},
              {L"\\Session", CheckCredentials, warning, "credential-key-unread"}};
  for (const auto& row : rows) {
    const PrivateRegistry registry;
    const DeniedKey denied(kRoot + std::wstring(row.key));
    const Findings findings = Ran(row.check);
    EXPECT_EQ(Codes(findings), row.codes) << ToUtf8(row.key);
    ASSERT_FALSE(findings.empty());
    Expect(findings[0], row.verdict, findings[0].code);
    EXPECT_EQ(findings[0].status, unsigned{ERROR_ACCESS_DENIED}) << ToUtf8(row.key);
  }
  const PrivateRegistry registry;
  const DeniedKey denied(kRoot);
  EXPECT_NE(Codes(Ran(CheckLibraries)).find("language-unknown"), std::string::npos);
}

TEST(DoctorValues, Check_LooksAtSizesTogether) {
  const std::wstring logging = std::wstring(kRoot) + L"\\Engine\\Logging";
  const struct {
    DWORD enabled, size, retention;
    const char* code;
  } rows[] = {{1, 4, 1, "values-usable"},
              {1, 4, 4, "sizes-unusable"},
              {1, 0, 1, "sizes-unusable"},
              {0, 4, 4, "values-usable"}};
  for (const auto& row : rows) {
    const PrivateRegistry registry;
    const auto store = [&](const wchar_t* name, DWORD number) {
      vtclass::test::StoreValue(logging, name, REG_DWORD, &number, sizeof number);
    };
    store(L"MaxDebugFile Enabled", row.enabled);
    store(L"MaxDebugFile Size In MB", row.size);
    store(L"MaxDebugFile Retention Size In MB", row.retention);
    EXPECT_EQ(Codes(Ran(CheckValues)), row.code) << row.size;
  }
}

TEST(DoctorIdentity, Judge) {
  const struct {
    bool isMe;
    unsigned long code, milliseconds;
    Verdict verdict;
    const char* expected;
  } rows[] = {{true, 0, kSlowAnswer - 1, ok, "own-name-known"},
              {true, 0, kSlowAnswer, warning, "identity-slow"},
              {false, 0, 1, problem, "own-name-foreign"},
              {false, WSAETIMEDOUT, 1, problem, "own-name-untold"}};
  for (const auto& row : rows) {
    const IdentityAnswer answer = {L"HOST", row.isMe, row.code, row.milliseconds, {}};
    Expect(JudgeOwnName({L"HOST"}, answer), row.verdict, row.expected);
  }
  EXPECT_EQ(Codes(JudgeNames({L"HOST", L"host", L"host", L"host.example"})), "names-known");
  EXPECT_EQ(Codes(JudgeNames({L"SQLV", L"NODE1", L"node1", L"node1"})),
            "names-known name-of-virtual-server name-without-domain");
  Expect(JudgeNames({L"", L"", L"", L"host.example"})[0], problem, "name-missing");
}

TEST(DoctorResolver, Judge) {
  const ResolvedAddress own = {L"10.0.0.1", {}, true, false};
  const ResolvedAddress loopback = {L"127.0.0.1", {}, true, true};
  const ResolvedAddress other = {L"10.0.0.2", {}, false, false};
  using Addresses = std::vector<ResolvedAddress>;
  const struct {
    unsigned long error;
    Addresses addresses;
    unsigned long milliseconds;
    Verdict verdict;
    const char* code;
  } rows[] = {{0, {own}, 1, ok, "own-name-resolves"},
              {0, {loopback, own}, 1, ok, "own-name-resolves"},
              {0, {own}, kSlowAnswer, warning, "resolver-slow"},
              {0, {loopback}, 1, warning, "own-name-is-loopback"},
              {0, {own, other}, 1, warning, "own-name-partly-elsewhere"},
              {0, {other}, 1, problem, "own-name-elsewhere"},
              {0, {}, 1, warning, "own-name-unknown"},
              {WSAHOST_NOT_FOUND, {}, 1, warning, "own-name-unknown"},
              {WSAETIMEDOUT, {}, 1, problem, "resolver-silent"}};
  for (const auto& row : rows) {
    const ResolvedName name = {L"host", {row.error, L"", row.addresses}, row.milliseconds};
    Expect(JudgeOwnAddress(name), row.verdict, row.code);
  }
  const auto judge = [](unsigned long error, unsigned long milliseconds) {
    return JudgeForeignName({L"nobody", {error, L"", {}}, milliseconds});
  };
  Expect(judge(WSAHOST_NOT_FOUND, 1), ok, "foreign-name-refused");
  Expect(judge(WSANO_DATA, kSlowAnswer), warning, "resolver-slow");
  Expect(judge(WSATRY_AGAIN, 1), warning, "resolver-silent");
  EXPECT_EQ(judge(WSATRY_AGAIN, 1).reason.find(L"DnsQueryTimeOut"), std::wstring::npos);
  EXPECT_NE(judge(WSAETIMEDOUT, 5000).reason.find(L"DnsQueryTimeOut"), std::wstring::npos);
  Expect(judge(0, 1), warning, "resolver-knows-all");
}

TEST(DoctorResolver, NameLimit_LeavesTimeForTheVerdict) {
  for (const unsigned long limit : {1000ul, 10000ul, 11000ul, 60000ul, 1000000000ul}) {
    EXPECT_LE(2 * NameLimit(limit), limit / 10 * 9) << limit;
    EXPECT_GE(NameLimit(limit), std::min(limit / 10 * 4, 5000ul)) << limit;
    EXPECT_LE(NameLimit(limit), 5000ul);
  }
}

TEST(DoctorCluster, Judge) {
  ClusterAnswers cluster;
  Expect(JudgeCluster(cluster), ok, "no-cluster");
  cluster.found = true;
  cluster.clusterName = L"CLU1";
  Expect(JudgeCluster(cluster), ok, "cluster-found");
  EXPECT_NE(JudgeCluster(cluster).what.find(L"Product: not clustered"), std::wstring::npos);
  cluster.error = ERROR_ACCESS_DENIED;
  Expect(JudgeCluster(cluster), warning, "cluster-unreadable");

  const vtclass::Step absent = {0, 0, ERROR_SERVICE_DOES_NOT_EXIST, L"S"};
  const vtclass::Step stopped = {0, SERVICE_STOPPED, 0, L"S"};
  const vtclass::Step hidden = {0, 0, ERROR_ACCESS_DENIED, L"S"};
  const struct {
    bool isRunning;
    unsigned long error;
    std::vector<vtclass::Step> services;
    Verdict verdict;
    const char* code;
  } rows[] = {{false, 0, {absent}, ok, "application-absent"},
              {false, 0, {}, warning, "application-unknown"},
              {true, 0, {stopped}, ok, "application-runs"},
              {false, 0, {absent, stopped}, note, "application-stopped"},
              {false, 0, {absent, hidden}, warning, "application-unknown"},
              {true, ERROR_ACCESS_DENIED, {stopped}, warning, "application-unknown"}};
  for (const auto& row : rows) {
    Expect(JudgeApplication({"", L"App", 1, row.isRunning, row.error, L"why", row.services}),
           row.verdict, row.code);
  }
}

TEST(DoctorLibraries, Judge) {
  using Library = LibraryState;
  const struct {
    Library::Part part;
    unsigned long error;
    const wchar_t* version;
    Verdict verdict;
    const char* code;
  } rows[] = {{Library::companion, 0, L"1.0", ok, "library-usable"},
              {Library::companion, 0, L"1.1", warning, "library-of-other-version"},
              {Library::messages, 0, L"", warning, "library-of-other-version"},
              {Library::companion, ERROR_FILE_NOT_FOUND, L"", problem, "library-missing"},
              {Library::messages, ERROR_FILE_NOT_FOUND, L"", warning, "library-missing"},
              {Library::chosenLanguage, ERROR_PATH_NOT_FOUND, L"", warning, "library-missing"},
              {Library::otherLanguage, ERROR_BAD_EXE_FORMAT, L"", warning, "library-not-loadable"},
              {Library::companion, ERROR_BAD_EXE_FORMAT, L"1.0", problem, "library-not-loadable"}};
  for (const auto& row : rows) {
    Expect(JudgeLibrary({L"l.dll", L"C:\\l.dll", row.part, row.error, row.version}, L"1.0"),
           row.verdict, row.code);
  }
  const auto stranger = [](Library::Part part) {
    return JudgeLibrary({L"l.dll", L"C:\\l.dll", part, 0, L"1.0", true}, L"1.0");
  };
  Expect(stranger(Library::companion), problem, "library-of-other-kind");
  Expect(stranger(Library::chosenLanguage), warning, "library-of-other-kind");
  Expect(JudgeLibrary({L"l.dll", L"", Library::companion, 0, L"", false}, L""), warning,
         "library-of-other-version");
}

// A library of the product in the place of another one.
TEST(DoctorLibraries, LibrariesIn_KnowsAStranger) {
  const ScratchFolder folder;
  const std::wstring file = LibraryFile();
  const std::wstring from = file.substr(0, file.rfind(L'\\') + 1);
  const wchar_t* const places[] = {L"vtcluster.dll", L"vtstdutl.dll", L"vterrors.dll",
                                   L"vterrors_DE.dll"};
  for (const wchar_t* const place : places) {
    ASSERT_TRUE(::CopyFileW((from + L"vtsocket.dll").c_str(), (folder / place).c_str(), TRUE));
  }
  for (const LibraryState& library : LibrariesIn(folder.Path() + L"\\", L"")) {
    const bool isMissing = library.name == L"vtsocket.dll";
    EXPECT_EQ(JudgeLibrary(library, FileVersion(file)).code,
              std::string(isMissing ? "library-missing" : "library-of-other-kind"))
        << ToUtf8(library.name);
  }
}

TEST(DoctorLibraries, LibrariesIn_TellsWhatIsThere) {
  const ScratchFolder folder;
  const std::wstring file = LibraryFile();
  const std::wstring from = file.substr(0, file.rfind(L'\\') + 1);
  for (const wchar_t* const name : {L"vtsocket.dll", L"vterrors.dll", L"vterrors_DE.dll"}) {
    ASSERT_TRUE(::CopyFileW((from + name).c_str(), (folder / name).c_str(), TRUE));
  }
  MakeFile(folder / L"vtcluster.dll", "no library");
  std::string seen;
  for (const LibraryState& library : LibrariesIn(folder.Path() + L"\\", L"FR")) {
    seen += ToUtf8(library.name) + " " + JudgeLibrary(library, FileVersion(file)).code + "\n";
  }
  EXPECT_EQ(seen,
            "vtsocket.dll library-usable\n"
            "vtcluster.dll library-not-loadable\n"
            "vtstdutl.dll library-missing\n"
            "vterrors.dll library-usable\n"
            "vterrors_FR.dll library-missing\n"
            "vterrors_DE.dll library-usable\n");
}

TEST(DoctorLogs, Judge) {
  LogsState state;
  state.unread = {{kRoot, ERROR_ACCESS_DENIED}};
  EXPECT_EQ(Codes(JudgeLogs(state)), "logs-unknown");
  state.unread.clear();
  state.isOn = false;
  EXPECT_EQ(Codes(JudgeLogs(state)), "logs-off no-log-folder");
  state.isOn = true;
  Expect(JudgeLogs(state)[0], warning, "logs-unlimited");
  state.limits.mode = vtclass::log::LimitMode::wrap;
  Expect(JudgeLogs(state)[0], ok, "logs-on");
  constexpr uint64_t kEnough = kLeastLogSpace;
  const struct {
    const wchar_t* fault;
    unsigned long error, writeError, spaceError;
    uint64_t freeSpace;
    const char* code;
  } rows[] = {{L"", 0, 0, 0, kEnough, "log-folder-usable"},
              {L"", 0, 0, 0, kEnough - 1, "log-space-low"},
              {L"", 0, ERROR_DISK_FULL, 0, 0, "log-space-low"},
              {L"", 0, 0, ERROR_NOT_READY, 0, "log-space-unknown"},
              {L"", 0, ERROR_ACCESS_DENIED, 0, kEnough, "log-folder-not-writable"},
              {L"", ERROR_PATH_NOT_FOUND, 0, 0, 0, "log-folder-missing"},
              {L"", ERROR_ACCESS_DENIED, 0, 0, 0, "log-folder-unreachable"},
              {L"It is empty.", 0, 0, 0, 0, "log-path-unusable"}};
  for (const auto& row : rows) {
    state.folders = {{L"V", L"C:\\Logs\\a.log", row.fault, L"C:\\Logs\\", row.error, row.writeError,
                      0, row.spaceError, 1, 2, row.freeSpace}};
    for (const bool isOn : {true, false}) {
      state.isOn = isOn;
      const bool isWell = row.code == std::string("log-folder-usable");
      Expect(JudgeLogs(state)[1], isWell ? ok : isOn ? problem : warning, row.code);
      EXPECT_EQ(JudgeLogs(state)[1].path, L"C:\\Logs\\a.log") << "as it is stored";
    }
  }
  state.isOn = true;
  state.folders = {{.value = L"V", .folder = L"C:\\", .size = 10, .freeSpace = kEnough}};
  state.limits.maximum = kEnough + 10;
  Expect(JudgeLogs(state)[1], ok, "log-folder-usable");
  ++state.limits.maximum;
  Expect(JudgeLogs(state)[1], warning, "log-limit-above-space");
}

TEST(DoctorLogs, FaultOf_KnowsPathsThatLeadNowhere) {
  const struct {
    const wchar_t* path;
    bool isUsable;
  } rows[] = {{L"C:\\a.log", true},
              {L"c:/logs/a.log", true},
              {L"\\\\server\\share\\a.log", true},
              {L"//server/share/a.log", true},
              {L"\\\\?\\C:\\a.log", true},
              {L"\\\\?\\UNC\\server\\share\\a.log", true},
              {L"\\\\?\\Volume{1}\\a.log", true},
              {L"C:\\CONSOLE.log", true},
              {L"C:\\COM\\a.log", true},
              {L"", false},
              {L"a.log", false},
              {L"sub\\a.log", false},
              {L"C:a.log", false},
              {L"C:", false},
              {L"\\a.log", false},
              {L"\"C:\\a.log\"", false},
              {L" C:\\a.log", false},
              {L"%TEMP%\\a.log", false},
              {L"NUL", false},
              {L"C:\\nul.txt", false},
              {L"C:\\COM1", false},
              {L"C:\\lpt9.log", false},
              {L"\\\\.\\pipe\\x", false},
              {L"\\\\?\\GLOBALROOT\\x", false},
              {L"C:\\a<b\\c.log", false},
              {L"C:\\a\nb.log", false},
              {L"http://x/y", false}};
  for (const auto& row : rows) {
    EXPECT_EQ(FaultOf(row.path, LogPlace::file).empty(), row.isUsable) << ToUtf8(row.path);
    EXPECT_EQ(FaultOf(row.path, LogPlace::folder).empty(), row.isUsable) << ToUtf8(row.path);
  }
  EXPECT_FALSE(FaultOf(L"C:\\logs\\", LogPlace::file).empty());
  EXPECT_TRUE(FaultOf(L"C:\\logs\\", LogPlace::folder).empty());
}

TEST(DoctorLogs, Check_FollowsThePathsThatComponentsStore) {
  const ScratchFolder scratch;
  MakeFile(scratch / L"a.log", "12345");
  MakeFile(scratch / L"a.log.bak1", "123");
  const auto look = [&](const std::wstring& path, LogPlace place = LogPlace::file) {
    return LookAtLogFolder(L"V", path, place);
  };
  // What others keep under the name of the library's own test is nobody's to write or delete.
  const std::wstring others = scratch / L"_VT101_.TMP";
  MakeFile(others, "precious");
  ASSERT_TRUE(::SetFileAttributesW(others.c_str(), FILE_ATTRIBUTE_READONLY));
  const LogFolder there = look(scratch / L"a.log");
  EXPECT_EQ(vtclass::test::FileBytes(others), "precious");
  ASSERT_TRUE(::SetFileAttributesW(others.c_str(), FILE_ATTRIBUTE_NORMAL));
  EXPECT_EQ(there.error, 0u);
  EXPECT_EQ(there.writeError, 0u);
  EXPECT_EQ(there.files, 3u) << "the file of the write test is gone again";
  EXPECT_EQ(there.size, 16u);
  EXPECT_GT(there.freeSpace, 0u);
  EXPECT_EQ(look(scratch.Path(), LogPlace::folder).files, 3u);
  EXPECT_FALSE(look(scratch.Path()).fault.empty()) << "a folder has the log's name";
  EXPECT_TRUE(IsMissing(look(scratch / L"none\\a.log").error));
  EXPECT_NE(look(scratch / L"a.log\\b.log").error, 0u) << "a file is in the folder's place";
  std::wstring slashes = scratch / L"a.log";
  std::ranges::replace(slashes, L'\\', L'/');
  EXPECT_EQ(look(slashes).files, 3u);

  const PrivateRegistry registry;
  const std::wstring logging = std::wstring(kRoot) + L"\\Engine\\Logging";
  const auto store = [](const std::wstring& key, const wchar_t* name, const std::wstring& text) {
    vtclass::test::StoreValue(key, name, REG_SZ, text.c_str(),
                              static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  };
  store(logging, L"MaxDebugFile Ext", L"C:\\no path of a log");
  store(logging, L"Relative", L"a.log");
  store(logging, L"Agent Log", scratch / L"a.log");
  store(std::wstring(kRoot) + L"\\Debug", L"Path", scratch / L"none\\");
  EXPECT_EQ(Codes(Ran(CheckLogs)),
            "logs-off log-folder-usable log-path-unusable log-folder-missing");
}

TEST(DoctorVolumes, Judge) {
  constexpr uint64_t kGigabyte = 1 << 30;
  const auto disk = [](uint64_t total, uint64_t free, Volume::Type type, unsigned long error) {
    Volume volume;
    volume.paths = {L"D:\\"};
    volume.type = type;
    volume.error = error;
    volume.totalSpace = total;
    volume.freeSpace = volume.freeSpaceToUser = free;
    volume.occupiedSpace = total - free;
    return volume;
  };
  const struct {
    Volume volume;
    Verdict verdict;
    const char* code;
  } rows[] = {
      {disk(100 * kGigabyte, 11 * kGigabyte, Volume::fixed, 0), ok, "volume-has-room"},
      {disk(1000 * kGigabyte, 10 * kGigabyte, Volume::fixed, 0), ok, "volume-has-room"},
      {disk(100 * kGigabyte, 9 * kGigabyte, Volume::fixed, 0), warning, "volume-nearly-full"},
      {disk(100 * kGigabyte, kLeastLogSpace - 1, Volume::fixed, 0), problem, "volume-full"},
      {disk(0, 0, Volume::fixed, 0), warning, "volume-size-unknown"},
      {disk(0, 0, Volume::fixed, ERROR_NOT_READY), warning, "volume-unreachable"}};
  for (const auto& row : rows) {
    const Findings findings = JudgeVolumes({{row.volume}, 0});
    ASSERT_EQ(findings.size(), 1u);
    Expect(findings[0], row.verdict, row.code);
  }
  EXPECT_EQ(Codes(JudgeVolumes({{disk(0, 0, Volume::cdRom, ERROR_NOT_READY),
                                 disk(kGigabyte, 0, Volume::removable, 0)},
                                0})),
            "");
  Expect(JudgeVolumes({{}, ERROR_PROC_NOT_FOUND})[0], warning, "volumes-untold");
}

TEST(DoctorClock, Judge) {
  constexpr long long kNow = 1700000000;
  constexpr long long kDay = 86400;
  const auto codes = [](long long built, std::optional<long long> converted,
                        unsigned long zoneError) {
    const Findings findings = JudgeClock({kNow, built, converted, L"T", L"Z", -90, zoneError});
    for (const Finding& finding : findings) Expect(finding, finding.verdict, finding.code);
    return Codes(findings) + " " + std::to_string(ExitCodeOf(Worst(findings)));
  };
  EXPECT_EQ(codes(kNow - kDay, kNow + 1, 0), "clock-plausible zone-known 0");
  EXPECT_EQ(codes(kNow + 2 * kDay, kNow, 0), "clock-too-early zone-known 2");
  EXPECT_EQ(codes(kNow - 31LL * 365 * kDay, kNow, 0), "clock-too-late zone-known 2");
  EXPECT_EQ(codes(kNow, kNow - 3600, 0), "clock-plausible zone-of-run-time-differs 1");
  EXPECT_EQ(codes(kNow, std::nullopt, 0), "clock-plausible zone-of-run-time-differs 1");
  EXPECT_EQ(codes(kNow, kNow, ERROR_FILE_NOT_FOUND), "clock-plausible zone-unknown 2");
  EXPECT_EQ(codes(0, kNow, 0), "clock-not-compared zone-known 0");
  const Findings west = JudgeClock({kNow, 0, kNow, L"T", L"Z", -90, 0});
  EXPECT_NE(west[1].what.find(L"UTC-01:30"), std::wstring::npos) << ToUtf8(west[1].what);
}

TEST(DoctorCredentials, Judge) {
  const struct {
    bool isText;
    OpenedSeal seal;
    Verdict verdict;
    const char* code;
  } rows[] = {{true, {SealForm::machineBound, true}, ok, "credential-machine-bound"},
              {true, {SealForm::ordinary, true, true}, note, "credential-ordinary"},
              {true, {SealForm::ordinary, false}, problem, "credential-does-not-open"},
              {true, {SealForm::machineBound, false}, problem, "credential-does-not-open"},
              {true, {SealForm::later, false}, problem, "credential-does-not-open"},
              {true, {SealForm::none, false}, problem, "credential-not-sealed"},
              {false, {}, problem, "credential-not-sealed"},
              {true, {SealForm::nothing}, ok, "no-credential"}};
  CredentialReport report;
  report.keys = {{L"HKEY_LOCAL_MACHINE\\K", {0, false, {}}, {{}}}};
  for (const auto& row : rows) {
    report.keys[0].credentials[0] = {L"Password", row.isText, row.seal, {}};
    const Findings findings = JudgeCredentials(report);
    ASSERT_EQ(findings.size(), 1u) << row.code;
    Expect(findings[0], row.verdict, row.code);
  }
  report.keys[0].credentials[0].seal = {SealForm::ordinary, true, true};
  report.keys[0].readers.isEveryUser = true;
  report.unread = {{L"HKEY_LOCAL_MACHINE\\U", ERROR_ACCESS_DENIED}};
  EXPECT_EQ(Codes(JudgeCredentials(report)),
            "credential-ordinary credential-open-to-all credential-key-unread");
  report.keys[0].readers = {ERROR_ACCESS_DENIED, false, {}};
  Expect(JudgeCredentials(report)[1], warning, "credential-readers-unknown");
}

TEST(DoctorAdvertisement, Judge) {
  const struct {
    unsigned long status, error;
    Verdict verdict;
    const char* code;
  } agents[] = {
      {0, 0, ok, "agent-runs"},
      {AgentAdvConfig::notInstalled, ERROR_FILE_NOT_FOUND, note, "agent-not-installed"},
      {AgentAdvConfig::notInstalled, ERROR_SERVICE_DOES_NOT_EXIST, note, "agent-not-installed"},
      {AgentAdvConfig::notInstalled, ERROR_INVALID_NAME, note, "agent-not-installed"},
      {AgentAdvConfig::notInstalled, ERROR_ACCESS_DENIED, problem, "agent-unknown"},
      {AgentAdvConfig::notInstalled, 0xFFFFFFFF, problem, "agent-unknown"},
      {AgentAdvConfig::notRunning, 0, warning, "agent-not-running"},
      {AgentAdvConfig::olderVersion, 0, warning, "agent-older"},
      {AgentAdvConfig::otherVersion, ERROR_FILE_NOT_FOUND, warning, "agent-of-other-version"},
      {AgentAdvConfig::accessDenied, ERROR_ACCESS_DENIED, warning, "agent-not-visible"},
      {AgentAdvConfig::notReachable, 1722, problem, "agent-unknown"}};
  for (const auto& row : agents) {
    AdvertisementState state;
    state.status = row.status;
    state.error = row.error;
    const Findings findings = JudgeAdvertisement(state);
    ASSERT_EQ(findings.size(), 1u) << row.code;
    Expect(findings[0], row.verdict, row.code);
  }
  AdvertisementState state;
  AdvSettings& settings = state.settings.emplace();
  settings.isEnabled = settings.isDiscoveryOn = true;
  settings.mediaServers.names = {L"A", L"B", L"C", L"D", L"E", L"F"};
  settings.minutes = 30;
  const Finding well = JudgeAdvertisement(state)[1];
  Expect(well, ok, "advertises");
  EXPECT_EQ(well.what, L"The agent advertises to A, B, C, D, E and 1 more every 30 minutes.");
  state.status = AgentAdvConfig::notRunning;
  Expect(JudgeAdvertisement(state)[1], ok, "media-servers-stored");
  state.status = 0;
  settings.mediaServers.names.clear();
  Expect(JudgeAdvertisement(state)[1], note, "no-media-server");
  settings.isDiscoveryOn = false;
  Expect(JudgeAdvertisement(state)[1], warning, "no-media-server");
  settings.isEnabled = false;
  Expect(JudgeAdvertisement(state)[1], note, "advertising-off");
  settings.mediaServers.error = 0xFFFFFFFF;
  EXPECT_EQ(JudgeAdvertisement(state)[1].what.find(L"0xFFFFFFFF"), std::wstring::npos);
  settings.isPurgePending = true;
  EXPECT_EQ(Codes(JudgeAdvertisement(state)), "agent-runs advertisement-unreadable purge-pending");
}

// What the doctor promises: it changes nothing that lasts.
TEST(DoctorChecks, LeaveNoTrace) {
  const PrivateRegistry registry;
  vtclass::test::MakeKey(kRoot);
  for (const CheckRow& row : kChecks) {
    const Findings findings = Ran(row.check);
    EXPECT_FALSE(findings.empty()) << row.name;
  }
  DWORD keys = 1;
  DWORD values = 1;
  vtclass::platform::OwnedRegistryKey root;
  ASSERT_EQ(::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kRoot, 0, KEY_READ, root.Receive()), 0);
  ::RegQueryInfoKeyW(root.Get(), nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values,
                     nullptr, nullptr, nullptr, nullptr);
  EXPECT_EQ(keys, 0u);
  EXPECT_EQ(values, 0u);
}

}  // namespace
}  // namespace vtctl::doctor
