// The commands about accounts, privileges and owners, in this process: what Wine only pretends is
// played through the imports of the library and of this program.
#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <sddl.h>

#include <cstring>
#include <memory>

#include <nlohmann/json.hpp>

#include "tests/support/allocations.h"
#include "tests/support/fake_ownership.h"
#include "tests/support/logon_fixture.h"
#include "tests/support/played_terminal.h"
#include "tests/support/run_here.h"
#include "tools/vtctl/security/own.h"
#include "tools/vtctl/security/token_text.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/secret.h"

namespace vtctl {
namespace {

using nlohmann::json;
using test::PlayedInput;
using test::RunHere;
using vtclass::platform::OwnedKernelObject;
using vtclass::platform::OwnedLocalMemory;
using vtclass::test::Impersonating;
using vtclass::test::played;
using vtclass::test::Replace;
using vtclass::test::ThreadTokenId;

const HMODULE program = ::GetModuleHandleW(nullptr);

bool Holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// A SID for as long as the program runs.
PSID Sid(const wchar_t* text) {
  PSID sid = nullptr;
  EXPECT_TRUE(::ConvertStringSidToSidW(text, &sid));
  return sid;
}

// Answers what a token says, by class: with these bytes, or with a failure.
struct PlayedToken {
  PlayedToken() {
    groups.groupCount = 4;
    groups.list[0] = {Sid(L"S-1-5-32-544"), SE_GROUP_USE_FOR_DENY_ONLY | SE_GROUP_ENABLED};
    groups.list[1] = {Sid(L"S-1-1-0"), SE_GROUP_MANDATORY | SE_GROUP_ENABLED};
    groups.list[2] = {Sid(L"S-1-5-21-9-8-7-4242"), SE_GROUP_OWNER};
    groups.list[3] = {Sid(L"S-1-5-5-0-77"), SE_GROUP_LOGON_ID | SE_GROUP_ENABLED};
  }

  BOOL Answer(HANDLE token, TOKEN_INFORMATION_CLASS what, void* out, DWORD room, DWORD* size) {
    if (what == refused) return ::SetLastError(ERROR_ACCESS_DENIED), FALSE;
    if (what == TokenGroups) return Give(&groups, sizeof groups, out, room, size);
    if (what == TokenIntegrityLevel) return Give(&label, sizeof label, out, room, size);
    if (what == TokenElevation) return Give(&elevation, sizeof elevation, out, room, size);
    if (what == TokenElevationType) return Give(&type, sizeof type, out, room, size);
    const BOOL isTold = real(token, what, out, room, size);
    if (isTold && what == TokenStatistics) {
      // A process's token has no level; what stands there means nothing.
      static_cast<TOKEN_STATISTICS*>(out)->ImpersonationLevel = SecurityImpersonation;
    }
    return isTold;
  }
  static BOOL Give(const void* from, DWORD bytes, void* out, DWORD room, DWORD* size) {
    *size = bytes;
    if (room < bytes) return ::SetLastError(ERROR_INSUFFICIENT_BUFFER), FALSE;
    std::memcpy(out, from, bytes);
    return TRUE;
  }

  struct {
    DWORD groupCount;
    SID_AND_ATTRIBUTES list[4];
  } groups;
  TOKEN_MANDATORY_LABEL label = {{Sid(L"S-1-16-8192"), SE_GROUP_INTEGRITY}};
  TOKEN_ELEVATION elevation = {0};
  TOKEN_ELEVATION_TYPE type = TokenElevationTypeLimited;
  int refused = 0;
  decltype(::GetTokenInformation)* const real = &::GetTokenInformation;  // before it is replaced
};

TEST(WhoAmI, Token_IsToldAsTheSystemTellsIt) {
  PlayedToken token;
  const auto hook = Replace<decltype(::GetTokenInformation)>(
      "GetTokenInformation", [&](auto... arguments) { return token.Answer(arguments...); },
      program);
  const RunHere text(AddWhoAmICommand, {L"whoami"});
  EXPECT_EQ(text.code, kExitClean);
  for (const char* const told :
       {"BUILTIN\\Administrators", "  deny-only  [S-1-5-32-544]\n", "  enabled, mandatory  [",
        "S-1-5-21-9-8-7-4242 (no name: ", "(1332))  disabled, owner\n",
        "Elevated       no; the account has an elevated token too",
        "Integrity      medium  [S-1-16-8192]\n", "enabled, logon-session\n"}) {
    EXPECT_TRUE(Holds(text.output, told)) << told << " in\n" << text.output;
  }
  EXPECT_FALSE(Holds(text.output, "Token of the thread"));

  const auto told = json::parse(RunHere(AddWhoAmICommand, {L"whoami", L"--json"}).output);
  const auto& process = told["process"];
  EXPECT_TRUE(told["thread"].is_null());
  EXPECT_EQ(told["sid"], process["account"]["sid"]);
  EXPECT_EQ(told["name"], process["account"]["name"]);
  EXPECT_EQ(process["groups"][0]["attributes"], json::array({"deny-only"}));
  EXPECT_EQ(process["groups"][2]["nameStatus"], ERROR_NONE_MAPPED);
  EXPECT_EQ(process["elevationType"], "limited");
  EXPECT_TRUE(process["impersonationLevel"].is_null());
  EXPECT_EQ(process["untold"], json::array());
  EXPECT_GT(process["privileges"].size(), 0U);

  const struct {
    const wchar_t* label;
    const char* word;
  } levels[] = {{L"S-1-16-0", "untrusted"},    {L"S-1-16-4096", "low"},
                {L"S-1-16-4097", "low"},       {L"S-1-16-8448", "medium"},
                {L"S-1-16-12288", "high"},     {L"S-1-16-16384", "system"},
                {L"S-1-16-20480", "protected"}};
  for (const auto& row : levels) {
    token.label.Label.Sid = Sid(row.label);
    EXPECT_EQ(ToJson(FactsOfProcess())["integrity"], row.word);
  }
  const std::pair<int, const char*> refusals[] = {
      {TokenUser, "account"},           {TokenGroups, "groups"},
      {TokenPrivileges, "privileges"},  {TokenIntegrityLevel, "integrity"},
      {TokenElevation, "elevated"},     {TokenElevationType, "elevationType"},
      {TokenStatistics, "logonSession"}};
  for (const auto& [refused, fact] : refusals) {
    token.refused = refused;
    const TokenFacts facts = FactsOfProcess();
    EXPECT_EQ(ToJson(facts)["untold"],
              json::parse("[{\"fact\":\"" + std::string(fact) + "\",\"status\":5}]"));
    EXPECT_NE(Text(facts).find(L"Not told"), std::wstring::npos);
  }
}

TEST(WhoAmI, ThreadThatImpersonates_IsToldBesideTheProcess) {
  const Impersonating impersonating;
  const auto told = json::parse(RunHere(AddWhoAmICommand, {L"whoami", L"--json"}).output);
  EXPECT_EQ(told["thread"]["impersonationLevel"], "impersonation");
  EXPECT_TRUE(
      Holds(RunHere(AddWhoAmICommand, {L"whoami"}).output, "Level          impersonation\n"));
  // The process's is not told in the place of one that cannot be opened.
  const auto deny = [](auto...) { return ::SetLastError(ERROR_ACCESS_DENIED), FALSE; };
  const auto here = Replace<decltype(::OpenThreadToken)>("OpenThreadToken", deny, program);
  const auto there =
      Replace<decltype(::OpenThreadToken)>("OpenThreadToken", [&](auto...) { return deny(); });
  const RunHere denied(AddWhoAmICommand, {L"whoami"});
  EXPECT_EQ(denied.code, kExitNoInput);
  EXPECT_TRUE(denied.output.starts_with("Acts as (not known)\n\nToken of the thread\n  The token"))
      << denied.output;
}

constexpr wchar_t kAgents[] = L"Software\\Norvane\\Vantorel For Windows\\Vantorel\\Engine\\Agents";
const std::string kPasswordBytes = "Tr0ub4dor&3";

class LogonCommand : public vtclass::test::LogonFixture {
 protected:
  RunHere Run(const std::wstring& account, bool asJson) {
    const PlayedInput input(kPasswordBytes + "\n");
    const RunHere run(AddLogonCommand, {L"logon", account, asJson ? L"--json" : L"--no-color"});
    EXPECT_FALSE(Holds(run.output + run.errors, kPasswordBytes));
    EXPECT_TRUE(played.tokens.empty());
    return run;
  }
};

TEST_F(LogonCommand, Success_TellsEachIdentity_AndEnds) {
  const auto told = json::parse(Run(L"D\\u", true).output);
  EXPECT_EQ(told["before"]["name"], "D\\process");
  EXPECT_EQ(told["meanwhile"]["name"], "D\\impersonated");
  EXPECT_EQ(told["after"]["name"], "D\\process");
  EXPECT_EQ(told["meanwhile"]["sid"], told["token"]["account"]["sid"]);
  EXPECT_EQ(told["token"]["impersonationLevel"], "impersonation");
  EXPECT_EQ(told["reverted"], true);
  EXPECT_EQ(told["status"], nullptr);
  EXPECT_EQ(told["traces"].back(),
            "About to close user context. WhoAmI( ) reports D\\impersonated");
  EXPECT_FALSE(ThreadTokenId());
  const RunHere text = Run(L"D\\u\n", false);
  EXPECT_EQ(text.code, kExitClean);
  EXPECT_TRUE(Holds(text.output, "  Kind      4, LOGON32_LOGON_BATCH\n")) << text.output;
  EXPECT_TRUE(Holds(text.output, "Logon of D\\u\xEF\xBF\xBD\n")) << "as it was written";
  EXPECT_TRUE(Holds(text.output, "  Meanwhile D\\impersonated  [S-1-"));
}

TEST_F(LogonCommand, Kind_IsThatOfTheLibrary_AndWhereItComesFrom) {
  const struct {
    DWORD stored, kind;  // REG_NONE: nothing; not even the key, where `stored` is 1
    DWORD type;
    const char* from;
    const char* why;
  } rows[] = {{1, REG_NONE, 4, "default", "the default: there is no key"},
              {0, REG_NONE, 4, "default", "the default: \"LogonUserType\" is not stored in HKEY"},
              {9, REG_SZ, 4, "default", "is no REG_DWORD and does not count"},
              {9, REG_DWORD, 9, "setting", "Chosen by \"LogonUserType\" in HKEY_LOCAL_MACHINE"},
              {6, REG_DWORD, 6, "setting", "6, Type not found"},
              {4, REG_DWORD, 4, "setting", "Chosen by \"LogonUserType\""}};
  for (const auto& row : rows) {
    if (row.stored != 1) vtclass::test::MakeKey(kAgents);
    if (row.kind != REG_NONE) {
      vtclass::test::StoreValue(kAgents, L"LogonUserType", row.kind, &row.stored, 4);
    }
    const auto told = json::parse(Run(L"D\\u", true).output);
    EXPECT_EQ(played.type, row.type);
    EXPECT_EQ(told["logonType"], row.type);
    EXPECT_EQ(told["logonTypeFrom"], row.from) << row.why;
    const std::string text = Run(L"D\\u", false).output;
    EXPECT_TRUE(Holds(text, row.why)) << text;
  }
  // What the library did counts, not what is stored behind its back.
  for (const DWORD kind : {DWORD{REG_DWORD}, DWORD{REG_SZ}}) {
    DWORD stored = 9;
    vtclass::test::StoreValue(kAgents, L"LogonUserType", REG_DWORD, &stored, 4);
    const auto change = Replace<decltype(::LogonUserW)>("LogonUserW", [&](auto... arguments) {
      stored = 3;
      vtclass::test::StoreValue(kAgents, L"LogonUserType", kind, &stored, 4);
      return vtclass::test::PlayLogon(arguments...);
    });
    const auto told = json::parse(Run(L"D\\u", true).output);
    EXPECT_EQ(told["logonType"], 9);
    EXPECT_EQ(told["logonTypeFrom"], "unknown");
  }
}

TEST_F(LogonCommand, Refused_TellsNumberAndText_AndNobodyIsImpersonated) {
  const struct {
    DWORD logon, impersonation;
    const char* advice;
  } rows[] = {{1326, 0, nullptr}, {1385, 0, "\"Log on as a batch job\""},
              {1909, 0, nullptr}, {5, 0, nullptr},
              {0, 5, nullptr},    {0, 1385, nullptr}};
  for (const auto& row : rows) {
    played.logonError = row.logon;
    played.impersonationError = row.impersonation;
    const DWORD error = row.logon + row.impersonation;
    const RunHere run = Run(L"D\\u", false);
    EXPECT_EQ(run.code, kExitErrors);
    const std::string outcome = row.logon ? "refused: " : "logged on, but not to be impersonated: ";
    EXPECT_TRUE(Holds(run.output, "  Outcome   " + outcome +
                                      ToUtf8(vtclass::test::SystemText(error)) + " (" +
                                      std::to_string(error) + ")\n"))
        << run.output;
    EXPECT_EQ(Holds(run.output, "Give the account the right"), row.advice != nullptr);
    if (row.advice) EXPECT_TRUE(Holds(run.output, row.advice));
    EXPECT_TRUE(Holds(run.output, "  After     D\\process  ["));
    EXPECT_FALSE(Holds(run.output, "Meanwhile"));
    EXPECT_FALSE(ThreadTokenId());
    const auto told = json::parse(Run(L"D\\u", true).output);
    EXPECT_EQ(told["status"], error);
    EXPECT_EQ(told["loggedOn"], row.logon == 0);
    EXPECT_EQ(told["impersonated"], false);
  }
  played = {};
  played.refusesRevert = true;
  const RunHere stays = Run(L"D\\u", false);
  EXPECT_EQ(stays.code, kExitInternal);
  EXPECT_TRUE(Holds(stays.output, "  After     D\\impersonated"));
}

TEST_F(LogonCommand, Password_IsOneLine_InUtf8OrElseOfTheCodePage) {
  const struct {
    std::string input;
    std::wstring password;
    int code = kExitClean;
  } rows[] = {{"pw\r\nnext", L"pw"},
              {"p w ", L"p w "},
              {"K\xC3\xA4se", L"K\x00E4se"},
              {"\n", L""},
              {"", L"-", kExitNoInput},
              {"\xF0\x9F\x98\x80", L"\xD83D\xDE00"},
              {std::string("p\0w\0", 4), L"-", kExitBadInput},
              {"\xEF\xBB\xBFpw", L"-", kExitBadInput}};
  std::wstring given;
  const auto hook = Replace<decltype(::LogonUserW)>(
      "LogonUserW", [&](LPCWSTR user, LPCWSTR domain, LPCWSTR password, auto... rest) {
        given = password;
        return vtclass::test::PlayLogon(user, domain, password, rest...);
      });
  for (const auto& row : rows) {
    given = L"-";
    const PlayedInput input(row.input);
    EXPECT_EQ(RunHere(AddLogonCommand, {L"logon", L"D\\u"}).code, row.code);
    EXPECT_EQ(given, row.password);
  }
  EXPECT_EQ(RunHere(AddLogonCommand, {L"logon", L""}).code, kExitUsage);
  vtctl::Secret otherText;
  otherText.text = "K\xE4se";  // no UTF-8
  wchar_t expected[8] = L"";
  ::MultiByteToWideChar(CP_ACP, 0, "K\xE4se", -1, expected, 8);
  EXPECT_STREQ(WidePassword(otherText).Text(), expected);
}

constexpr wchar_t kPrivilege[] = L"SeChangeNotifyPrivilege";  // which everybody holds

// Changes it in the thread's token, or else the process's.
void SetPrivilege(bool isThread, DWORD attributes) {
  OwnedKernelObject token;
  constexpr DWORD kAccess = TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY;
  EXPECT_TRUE(isThread ? ::OpenThreadToken(::GetCurrentThread(), kAccess, TRUE, token.Receive())
                       : ::OpenProcessToken(::GetCurrentProcess(), kAccess, token.Receive()));
  TOKEN_PRIVILEGES change = {1, {{{}, attributes}}};
  EXPECT_TRUE(::LookupPrivilegeValueW(nullptr, kPrivilege, &change.Privileges[0].Luid));
  EXPECT_TRUE(::AdjustTokenPrivileges(token.Get(), FALSE, &change, 0, nullptr, nullptr));
}

json AskPrivilege(const wchar_t* name, int code) {
  const RunHere run(AddPrivilegeCommand, {L"privilege", name, L"--json"});
  EXPECT_EQ(run.code, code) << run.output;
  return json::parse(run.output);
}

TEST(Privilege, StateBeforeAndAfter_OfTheTokenThatItWasDoneTo) {
  for (const bool isThread : {false, true}) {
    const auto impersonating = isThread ? std::make_unique<Impersonating>() : nullptr;
    SetPrivilege(isThread, 0);
    for (const bool before : {false, true}) {
      const json told = AskPrivilege(kPrivilege, kExitClean);
      EXPECT_EQ(told["token"], isThread ? "thread" : "process");
      EXPECT_EQ(told["enabledBefore"], before);
      EXPECT_EQ(told["enabledAfter"], true);
    }
    if (!isThread) continue;
    SetPrivilege(true, SE_PRIVILEGE_REMOVED);
    const json told = AskPrivilege(kPrivilege, kExitErrors);
    EXPECT_EQ(told["held"], false);
    EXPECT_EQ(told["status"], ERROR_NOT_ALL_ASSIGNED);
    EXPECT_TRUE(told["enabledAfter"].is_null());
    EXPECT_TRUE(Holds(RunHere(AddPrivilegeCommand, {L"privilege", kPrivilege}).output,
                      "  Before    not held\n  Enabled   no: "));
  }
  json told = AskPrivilege(L"SeMisspeltPrivilege", kExitBadInput);
  EXPECT_EQ(told["known"], false);
  EXPECT_EQ(told["agentsAreTold"], true) << "they are not kept from going on";
  const auto refuse = Replace<decltype(::AdjustTokenPrivileges)>(
      "AdjustTokenPrivileges", [](auto...) { return ::SetLastError(ERROR_ACCESS_DENIED), FALSE; });
  told = AskPrivilege(kPrivilege, kExitErrors);
  EXPECT_EQ(told["status"], ERROR_ACCESS_DENIED);
  EXPECT_EQ(told["held"], true);
}

// Privileges are there; owners are played.
class Own : public testing::Test, protected vtclass::test::FakeOwnership {
 protected:
  static auto GrantPrivileges(DWORD error) {
    return Replace<decltype(::AdjustTokenPrivileges)>("AdjustTokenPrivileges", [error](auto...) {
      ++vtclass::test::ownership.open;  // the token, which is closed as a link is
      ::SetLastError(error);
      return TRUE;
    });
  }

  static constexpr DWORD kFolder = vtclass::test::kFolder;
  const vtclass::test::ScratchFolder scratch;
  const std::wstring tree = L"\\\\?\\" + scratch.Path();
};

TEST_F(Own, AsksBeforeItActs_AndRefusesWhatCannotBe) {
  vtclass::test::MakeFile(scratch / L"file", "x");
  const struct {
    const wchar_t* keys;  // null: no terminal
    std::wstring path;
    bool isTree, isSure;
    DWORD privileges;
    int code;
    size_t taken;
    const char* told;
  } rows[] = {
      {nullptr, L"", false, false, 0, kExitUsage, 0, "Nobody can be asked"},
      {nullptr, L"", false, true, 0, kExitClean, 1, ""},
      {nullptr, L"", true, true, 0, kExitClean, 2, ""},
      {L"yes\r", L"", false, false, 0, kExitClean, 1, "? Nothing undoes this. (yes/no) "},
      {L"y\r", L"", true, false, 0, kExitClean, 2, " and of everything below it? "},
      {L"no\r", L"", false, false, 0, kExitWarnings, 0, "Nothing was done."},
      {L"\r", L"", true, false, 0, kExitWarnings, 0, "Nothing was done."},
      {L"ye", L"", false, false, 0, kExitNoInput, 0, "cannot be read"},
      {nullptr, L"\\missing", false, true, 0, kExitNoInput, 0, "was not found: "},
      {nullptr, L"\\file", true, true, 0, kExitNoInput, 0, "is no folder"},
      {nullptr, L"", true, true, 1300, kExitErrors, 0, "SeTakeOwnershipPrivilege cannot be"}};
  for (const auto& row : rows) {
    const auto granted = GrantPrivileges(row.privileges);
    const PlayedInput script("yes\n");
    std::unique_ptr<test::PlayedTerminal> terminal;
    if (row.keys) terminal = std::make_unique<test::PlayedTerminal>(row.keys);
    std::vector<std::wstring> words = {L"own", scratch.Path() + row.path};
    if (row.isTree) words.emplace_back(L"--tree");
    if (row.isSure) words.emplace_back(L"--yes");
    const RunHere run(AddOwnCommand, words);
    EXPECT_EQ(run.code, row.code) << run.errors;
    EXPECT_TRUE(Holds(run.errors, row.told)) << run.errors;
    EXPECT_EQ(Taken().size(), row.taken) << row.told;
  }
  // By how it is written; made absolute it would be the drive's root.
  const auto granted = GrantPrivileges(ERROR_SUCCESS);
  const RunHere root(AddOwnCommand, {L"own", L"\\", L"--yes"});
  EXPECT_EQ(root.code, kExitNoInput);
  EXPECT_TRUE(Holds(root.errors, "names nothing in particular")) << root.errors;
  EXPECT_EQ(Taken().size(), 0U);
}

TEST_F(Own, Failures_AreToldWithTheirReasons_AndDoNotEndTheWalk) {
  vtclass::test::ownership.folders = {{tree, {{{L"a"}, {L"f", kFolder}, {L"z"}}}},
                                      {tree + L"\\f", {{}, ERROR_INVALID_NAME}}};
  vtclass::test::ownership.failAtPath = tree + L"\\a";
  const auto granted = GrantPrivileges(ERROR_SUCCESS);
  const RunHere text(AddOwnCommand, {L"own", scratch.Path(), L"--tree", L"--yes"});
  EXPECT_EQ(text.code, kExitErrors);
  const std::string a = ToUtf8(scratch / L"a");
  EXPECT_TRUE(text.output.starts_with(
      a + ": not taken over: " + ToUtf8(vtclass::test::SystemText(5)) + " (5)\n"))
      << text.output;
  EXPECT_TRUE(Holds(text.output, ToUtf8(scratch / L"f") + ": not listed: "));
  EXPECT_TRUE(text.output.ends_with("\n3 taken over, 2 failed\n"));
  const auto told = json::parse(
      RunHere(AddOwnCommand, {L"own", scratch.Path(), L"--tree", L"--yes", L"--json"}).output);
  EXPECT_EQ(told["taken"], 3);
  EXPECT_EQ(told["failed"], 2);
  EXPECT_EQ(told["stopped"], false);
  EXPECT_EQ(told["failures"][0]["path"], a);
  EXPECT_EQ(told["failures"][0]["status"], 5);
  EXPECT_EQ(told["failures"][1]["step"], "list");
  vtclass::test::ownership.failAtPath = tree;
  const RunHere one(AddOwnCommand, {L"own", scratch.Path(), L"--yes"});
  EXPECT_EQ(one.code, kExitErrors);
  EXPECT_TRUE(Holds(one.output, "(5)\n0 taken over, 1 failed\n")) << one.output;
}

int entriesLeft;

// Ctrl+C between two entries.
TEST_F(Own, Stop_EndsTheWalk_AndSaysHowFarItCame) {
  vtclass::test::ownership.folders = {{tree, {{{L"a"}, {L"b"}, {L"c"}}}}};
  const auto stop = [] { return --entriesLeft <= 0; };
  for (const bool fails : {false, true}) {
    vtclass::test::ownership.failAtPath = fails ? tree + L"\\a" : L"";
    entriesLeft = 3;
    Taken();
    const OwnResult result = TakeOver({Path(scratch.Path()), true, true, stop});
    EXPECT_TRUE(result.isStopped);
    EXPECT_EQ(result.taken, fails ? 2U : 3U);
    EXPECT_EQ(result.failed, fails ? 1U : 0U);
    EXPECT_EQ(result.failures.size(), result.failed);
    EXPECT_EQ(Taken().size(), result.taken) << "the rest is as it was";
  }
  // Of a single object all is done.
  entriesLeft = 0;
  EXPECT_FALSE(TakeOver({Path(scratch.Path()), false, true, stop}).isStopped);
}

TEST_F(Own, NoMemory_IsToldEvenBehindAFailure) {
  vtclass::test::ownership.folders = {{tree, {{{L"a"}, {L"f", kFolder}}}},
                                      {tree + L"\\f", {{{std::wstring(200, L'g')}}}}};
  for (const bool fails : {false, true}) {
    vtclass::test::ownership.failAtPath = fails ? tree + L"\\a" : L"";
    OwnResult result;
    const auto never = [] { return false; };
    const auto check = [&](bool failed) {
      const bool isTold = !result.failures.empty() && result.failures.back().status == 8;
      EXPECT_EQ(isTold, failed);
    };
    EXPECT_GT(vtclass::test::TryEachAllocation(
                  [&] { result = TakeOver({Path(scratch.Path()), true, true, never}); }, check),
              2);
  }
}

}  // namespace
}  // namespace vtctl
