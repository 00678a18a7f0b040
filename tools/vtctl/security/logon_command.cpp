#include <string>

#include "tools/vtctl/security/logon.h"
#include "tools/vtctl/security/token_text.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

constexpr const char* kExamples =
    "Logs an account on as agents do, acts as it for a moment, and ends that: who would I be, and\n"
    "if not, why. Nothing is stored. The password is asked for without echo, or read as one line\n"
    "where standard input is no terminal; a wrong one counts as an attempt, and some systems lock "
    "an\n"
    "account after a few.\n"
    "\n"
    "The kind of logon decides which right the account needs. It is the value \"LogonUserType\" "
    "of\n"
    "the agents key, else 4 (batch):\n"
    "  2 interactive  Allow log on locally\n"
    "  3 network      Access this computer from the network\n"
    "  4 batch        Log on as a batch job\n"
    "  5 service      Log on as a service\n"
    "\n"
    "The level tells how far the thread acts as the account: at \"identification\" it can be "
    "named\n"
    "and opens nothing. That is so where this program lacks SeImpersonatePrivilege.\n"
    "\n"
    "Examples:\n"
    "  vtctl logon NORVANE\\backup\n"
    "  vtctl logon backup --json < password.txt\n"
    "\n"
    "Exit codes: 0 the account was impersonated, 2 it was refused, 65 no such password can be, 66\n"
    "standard input cannot be read, 70 the thread did not come back from the account.";

struct LogonArguments : CommonArguments {
  std::wstring account;
};

// What an operator can do about it; mostly the system's words are enough.
std::wstring Advice(const LogonReport& report) {
  if (report.isLoggedOn || report.error != ERROR_LOGON_TYPE_NOT_GRANTED || !report.type) return {};
  const auto right = [&]() -> std::wstring {
    switch (report.type->number) {
      case LOGON32_LOGON_INTERACTIVE:
        return L"\"Allow log on locally\"";
      case LOGON32_LOGON_NETWORK:
        return L"\"Access this computer from the network\"";
      case LOGON32_LOGON_BATCH:
        return L"\"Log on as a batch job\"";
      case LOGON32_LOGON_SERVICE:
        return L"\"Log on as a service\"";
      default:
        return L"for logons of this kind";
    }
  };
  return L"Give the account the right " + right() +
         L", and see that no policy denies it; or choose another kind of logon.";
}

std::wstring Outcome(const LogonReport& report) {
  if (report.error == ERROR_SUCCESS) return L"impersonated, and ended";
  return (report.isLoggedOn ? L"logged on, but not to be impersonated: " : L"refused: ") +
         SystemText(report.error);
}

std::wstring WithSid(const Acting& acting) {
  const std::wstring shown = Shown(acting);
  return acting.sid.empty() || shown == acting.sid ? shown : shown + L"  [" + acting.sid + L"]";
}

std::wstring Text(const std::wstring& account, const LogonReport& report) {
  std::wstring text = L"Logon of " + Printable(account) + L"\n";
  const auto add = [&text](const wchar_t* label, const std::wstring& words) {
    if (!words.empty()) text += label + words + L"\n";
  };
  if (report.type) {
    add(L"  Kind      ", std::to_wstring(report.type->number) + L", " + report.type->name);
    add(L"  Chosen by ", report.choice.why);
  }
  add(L"  Outcome   ", Outcome(report));
  add(L"            ", Advice(report));
  add(L"  Before    ", WithSid(report.before));
  if (report.error == ERROR_SUCCESS) {
    add(L"  Meanwhile ", WithSid(report.during));
    const char* const level = report.token ? LevelWord(report.token->level) : nullptr;
    if (level) add(L"  Level     ", FromUtf8(level));
  }
  add(L"  After     ", WithSid(report.after));
  text += L"  The library says\n";
  for (const std::wstring& line : report.traces) text += L"    " + Printable(line) + L"\n";
  return text;
}

Json ToJson(const Acting& acting) {
  return {{"name", TextOrNull(acting.name)}, {"sid", TextOrNull(acting.sid)}};
}

Json ToJson(const std::wstring& account, const LogonReport& report) {
  constexpr const char* kOrigins[] = {"setting", "default", "unknown"};
  Json json = {{"account", ToUtf8(account)},
               {"loggedOn", report.isLoggedOn},
               {"impersonated", report.error == ERROR_SUCCESS},
               {"error", nullptr},
               {"status", nullptr},
               {"logonType", report.type ? Json(report.type->number) : Json()},
               {"logonTypeName", report.type ? Json(ToUtf8(report.type->name)) : Json()},
               {"logonTypeFrom", kOrigins[report.choice.origin]},
               {"before", ToJson(report.before)},
               {"meanwhile", report.error == ERROR_SUCCESS ? ToJson(report.during) : Json()},
               {"token", report.token ? ToJson(*report.token) : Json()},
               {"after", ToJson(report.after)},
               {"reverted", report.isReverted},
               {"traces", Json::array()}};
  AddStatus(json, report.error);
  for (const std::wstring& line : report.traces) json["traces"].push_back(ToUtf8(line));
  return json;
}

int Run(const LogonArguments& arguments) {
  if (arguments.account.empty()) return Fail(kExitUsage, L"The account is empty.");
  Secret password;
  const int code = ReadPassword(arguments.account, password);
  if (code != kExitClean) return code;
  const LogonReport report = TryLogon(arguments.account, password);
  arguments.json ? PrintJson(ToJson(arguments.account, report))
                 : Print(Text(arguments.account, report));
  if (!report.isReverted) {
    return Fail(kExitInternal, L"The system did not end the impersonation.");
  }
  return report.error == ERROR_SUCCESS ? kExitClean : kExitErrors;
}

}  // namespace

void AddLogonCommand(Command& program) {
  auto logon = program.Add("logon", "Log an account on as agents do: who one would be, or why not",
                           kExamples, Run);
  logon.Text("ACCOUNT", logon->account, "DOMAIN\\user, or a user of this machine").Required();
  logon.Json("One JSON object");
}

}  // namespace vtctl
