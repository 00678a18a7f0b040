#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <sddl.h>

#include <nlohmann/json.hpp>

#include "platform/owned.h"
#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "tests/support/run_vtctl.h"
#include "tools/vtctl/credential/report_text.h"
#include "tools/vtctl/shared/console.h"
#include "vtclass/crypto.h"

namespace vtctl {
namespace {

using test::VtctlRun;
using vtclass::platform::OwnedLocalMemory;
using vtclass::platform::OwnedRegistryKey;

const std::wstring kRoot = L"Software\\Norvane\\Vantorel For Windows\\Vantorel";
const std::string kSealed = "=Qk95H\\I@7T";  // "secret"

TEST(Credential, Texts_ThatCannotBeSealedOrOpened_AreRefused) {
  const struct {
    std::vector<std::wstring> words;
    std::string input;
    const char* sentence;
  } rows[] = {
      {{L"seal"}, "", "nothing to seal"},
      {{L"seal"}, "\r\n", "nothing to seal"},
      {{L"seal", L"--machine"}, "\n", "nothing to seal"},
      {{L"seal"}, std::string(769, 'x'), "it has 769 bytes, and an ordinary seal holds 768"},
      {{L"seal", L"--machine"}, std::string(65537, 'x'), "more than 65536 bytes"},
      {{L"seal"}, std::string("s\0e\0", 4), "a zero byte"},
      {{L"seal"}, "\xEF\xBB\xBFsecret", "byte order mark"},
      {{L"open"}, "", "nothing to open"},
      {{L"open"}, "secret", "no sealed credential"},
      {{L"open"}, "=Qk95H\\I@7X", "opens to no text"},
      {{L"open"}, "~1~0000", "on another machine"},
      {{L"open"}, "~2~0000", "of a later version"}};
  for (const auto& row : rows) {
    std::vector<std::wstring> words = {L"credential"};
    words.insert(words.end(), row.words.begin(), row.words.end());
    VtctlRun run(words, row.input);
    EXPECT_EQ(run.ExitCode(), kExitBadInput) << row.sentence;
    EXPECT_NE(run.ErrorOutput().find(row.sentence), std::string::npos) << run.ErrorOutput();
    EXPECT_EQ(run.Output(), "");
  }
  VtctlRun deaf({L"credential", L"seal"});
  EXPECT_EQ(deaf.ExitCode(), kExitNoInput);
  EXPECT_NE(deaf.ErrorOutput().find("Standard input cannot be read"), std::string::npos);
}

std::string Sealed(const std::string& secret) {
  VtctlRun run({L"credential", L"seal"}, secret);
  EXPECT_EQ(run.ExitCode(), kExitClean) << run.ErrorOutput();
  return run.Output().substr(0, run.Output().size() - 1);
}

TEST(Credential, WhatWasSealed_Opens) {
  const struct {
    std::string input;
    std::string secret;
    bool isNoted;
  } rows[] = {
      {"secret", "secret", false},     {"secret\n", "secret", false},
      {"secret\r\n", "secret", false}, {" a \n\n", " a \n", false},
      {"a\r", "a\r", false},           {"K\xC3\xA4se", "K\xC3\xA4se", true},
      {"K\xE4se", "K\xE4se", true},    {std::string(768, 'x'), std::string(768, 'x'), false}};
  for (const auto& row : rows) {
    VtctlRun seal({L"credential", L"seal"}, row.input);
    EXPECT_EQ(seal.ExitCode(), kExitClean) << seal.ErrorOutput();
    EXPECT_EQ(seal.ErrorOutput().find("other characters than ASCII") != std::string::npos,
              row.isNoted);
    VtctlRun open({L"credential", L"open"}, seal.Output());
    EXPECT_EQ(open.ExitCode(), kExitClean) << open.ErrorOutput();
    EXPECT_EQ(open.Output(), row.secret + "\n");
  }
  EXPECT_EQ(Sealed("secret"), kSealed);
  // The system's data protection needs the machine's own registry.
  using vtclass::test::ChildProcess;
  const std::string longest(65536, 'x');
  for (const std::string& secret : {std::string("secret"), longest}) {
    ChildProcess seal(L"vtctl.exe", {L"credential", L"seal", L"--machine"}, nullptr, secret);
    EXPECT_EQ(seal.ExitCode(), kExitClean) << seal.ErrorOutput();
    EXPECT_TRUE(seal.Output().starts_with("~1~"));
    std::string opened;
    EXPECT_EQ(vtclass::OpenForMachine(seal.Output().substr(0, seal.Output().size() - 1), opened),
              0U);
    EXPECT_EQ(opened, secret);
  }
}

TEST(Credential, KeyReaders_AreThoseOfTheAccessList) {
  const struct {
    const wchar_t* list;
    bool isEveryUser;
  } rows[] = {{L"D:(A;;KA;;;BA)(A;;KR;;;SY)", false},
              {L"D:(A;;KR;;;WD)", true},
              {L"D:(A;;GR;;;AU)", true},
              {L"D:(A;;GA;;;BU)", true},
              {L"D:(A;;KR;;;IU)", true},
              {L"D:(A;IOCI;KR;;;WD)", false},  // of subkeys only
              {L"D:(A;;KW;;;WD)", false},
              {L"D:(D;;KR;;;WD)(A;;KR;;;BU)", false},
              {L"D:(D;;KW;;;WD)(A;;KR;;;BU)", true},
              {L"D:(D;;KR;;;BG)(A;;KR;;;BU)", true},  // guests
              {L"D:(A;;KR;;;BU)(D;;KR;;;WD)", true},
              {L"D:", false}};
  for (const auto& row : rows) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    ASSERT_TRUE(::ConvertStringSecurityDescriptorToSecurityDescriptorW(row.list, SDDL_REVISION_1,
                                                                       &descriptor, nullptr));
    const OwnedLocalMemory memory(descriptor);
    BOOL isPresent = FALSE;
    BOOL isDefault = FALSE;
    ACL* list = nullptr;
    ASSERT_TRUE(::GetSecurityDescriptorDacl(descriptor, &isPresent, &list, &isDefault));
    EXPECT_EQ(LetsEveryUser(list, KEY_QUERY_VALUE), row.isEveryUser) << ToUtf8(row.list);
  }
  EXPECT_TRUE(LetsEveryUser(nullptr, KEY_QUERY_VALUE));
}

void StoreText(const std::wstring& key, const std::wstring& name, const std::wstring& text) {
  vtclass::test::StoreValue(key, name, REG_SZ, text.c_str(),
                            static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

void LetIn(const std::wstring& path, const wchar_t* list) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  ASSERT_TRUE(::ConvertStringSecurityDescriptorToSecurityDescriptorW(list, SDDL_REVISION_1,
                                                                     &descriptor, nullptr));
  const OwnedLocalMemory memory(descriptor);
  OwnedRegistryKey key;
  ASSERT_EQ(::RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_ALL_ACCESS, key.Receive()), 0);
  ASSERT_EQ(::RegSetKeySecurity(key.Get(), DACL_SECURITY_INFORMATION, descriptor), 0);
}

const vtclass::test::ImportHook<decltype(::RegOpenKeyExW)>* openKey;
LSTATUS WINAPI RefuseClosed(HKEY key, LPCWSTR path, DWORD options, REGSAM access, PHKEY out) {
  if (std::wstring_view(path).ends_with(L"\\Closed")) return ERROR_ACCESS_DENIED;
  return openKey->Original()(key, path, options, access, out);
}

// The row of a value; null when the report has none.
nlohmann::json RowOf(const nlohmann::json& report, const std::string& key,
                     const std::string& value) {
  for (const auto& row : report["credentials"]) {
    if (row["key"].get<std::string>().ends_with("\\" + key) && row["name"] == value) return row;
  }
  return nullptr;
}

TEST(Credential, Report_TellsOfEachAndNeverWhatItIs) {
  const vtclass::test::PrivateRegistry registry;
  const std::wstring sealed = FromUtf8(kSealed);
  const std::wstring plain = L"hunter2!";
  const std::wstring agents = kRoot + L"\\Engine\\Agents";
  StoreText(agents + L"\\DB1", L"Password", sealed);
  StoreText(agents + L"\\DB1", L"User", FromUtf8(Sealed("scott")));
  StoreText(agents + L"\\DB2", L"Catalog Password", plain);
  StoreText(agents + L"\\DB2", L"Catalog User Name", L"cat");
  StoreText(agents + L"\\DB2", L"User Name", L"other");
  StoreText(agents + L"\\DB2", L"Media PASSWORD", sealed + L"0");
  StoreText(agents + L"\\DB2", L"Kept", sealed);
  StoreText(agents + L"\\DB2", L"Media Account", L"");
  StoreText(agents + L"\\DB2", L"Server", L"BACKUPSRV01");
  StoreText(agents + L"\\DB2", L"Login Password", L"");
  StoreText(agents + L"\\DB2", L"Bound Credential", L"~1~0000");
  const DWORD number = 8;
  vtclass::test::StoreValue(agents, L"Password Length", REG_DWORD, &number, sizeof number);
  vtclass::test::StoreValue(agents, L"Secret", REG_BINARY, &number, sizeof number);
  vtclass::test::MakeKey(agents + L"\\Closed");
  StoreText(kRoot + L"\\Session", L"Account", L"NORVANE\\backup");
  StoreText(kRoot + L"\\Session", L"Account Password", sealed);
  StoreText(L"Software\\Norvane\\Vantorel For Windows\\Pordex", L"Password", sealed);
  LetIn(kRoot + L"\\Session", L"D:(A;;KR;;;WD)(A;;KA;;;BA)");

  const vtclass::test::ImportHook<decltype(::RegOpenKeyExW)> hook(
      "ADVAPI32.dll", "RegOpenKeyExW", &RefuseClosed, ::GetModuleHandleW(nullptr));
  openKey = &hook;
  const CredentialReport report = ReadCredentials();
  const auto json = nlohmann::json::parse(ToJson(report).dump());
  const struct {
    const char* key;
    const char* value;
    const char* scheme;  // null: not reported
    nlohmann::json opens;
    nlohmann::json user;
    nlohmann::json openableBy;
  } rows[] = {
      {"DB1", "Password", "ordinary", true, "scott", "anybody"},
      {"DB1", "User", "ordinary", true, nullptr, "anybody"},
      {"DB2", "Catalog Password", "none", false, "cat", "plain"},
      {"DB2", "Media PASSWORD", "none", false, nullptr, "plain"},
      {"DB2", "Kept", "ordinary", true, nullptr, "anybody"},
      {"DB2", "Server", nullptr, {}, {}, {}},
      {"DB2", "Login Password", "nothing", nullptr, nullptr, nullptr},
      {"DB2", "Bound Credential", "machine-bound", false, nullptr, "anybody-on-this-machine"},
      {"Agents", "Password Length", nullptr, {}, {}, {}},
      {"Agents", "Secret", "none", false, nullptr, nullptr},
      {"Session", "Account Password", "ordinary", true, "NORVANE\\backup", "anybody"},
      {"Pordex", "Password", "ordinary", true, nullptr, "anybody"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.key) + " " + row.value);
    const nlohmann::json found = RowOf(json, row.key, row.value);
    ASSERT_EQ(found.is_null(), row.scheme == nullptr) << found;
    if (found.is_null()) continue;
    EXPECT_EQ(found["scheme"], row.scheme);
    EXPECT_EQ(found["opens"], row.opens);
    EXPECT_EQ(found["user"], row.user);
    EXPECT_EQ(found["openableBy"], row.openableBy);
    EXPECT_EQ(found["readableByEveryUser"], std::string(row.key) == "Session");
  }
  ASSERT_EQ(json["unreadKeys"].size(), 1U);
  EXPECT_EQ(json["unreadKeys"][0]["status"], 5);
  EXPECT_EQ(Severity(report), kExitErrors);

  const std::wstring text = Text(report);
  for (const std::wstring told :
       {L"Read by: every user of this machine", L"Account Password  (warning)",
        L"Catalog Password  (error)", L"ordinary, opens\n", L"User:      NORVANE\\backup",
        L"\\Closed was not read: ", L"10 stored credentials, 4 errors, 1 warning."}) {
    EXPECT_NE(text.find(told), std::wstring::npos) << ToUtf8(told + L" in\n" + text);
  }
  for (const std::string& secret : {std::string("secret"), ToUtf8(plain), kSealed}) {
    EXPECT_EQ(ToUtf8(text).find(secret), std::string::npos) << secret;
    EXPECT_EQ(json.dump().find("\"" + secret), std::string::npos) << secret;
  }
}

TEST(Credential, Severity_OfKeysThatAreWellKept) {
  const vtclass::test::PrivateRegistry registry;
  EXPECT_EQ(Severity(ReadCredentials()), kExitClean);
  EXPECT_NE(Text(ReadCredentials()).find(L"0 stored credentials."), std::wstring::npos);
  StoreText(kRoot, L"Password", FromUtf8(kSealed));
  LetIn(kRoot, L"D:(A;;KA;;;BA)(A;;KW;;;BU)");
  EXPECT_EQ(Severity(ReadCredentials()), kExitClean);
  OwnedRegistryKey key;
  ASSERT_EQ(::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kRoot.c_str(), 0, KEY_READ, key.Receive()), 0);
  EXPECT_EQ(AccessTo(key.Get(), KEY_QUERY_VALUE).names.size(), 1U) << "who writes does not read";
  LetIn(kRoot, L"D:(A;;KA;;;BA)(A;;KR;;;BU)");
  EXPECT_EQ(Severity(ReadCredentials()), kExitWarnings);
  StoreText(kRoot, L"Password", L"");
  EXPECT_EQ(Severity(ReadCredentials()), kExitClean);
}

}  // namespace
}  // namespace vtctl
