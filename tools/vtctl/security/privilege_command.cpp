#include <algorithm>
#include <optional>
#include <string>

#include "platform/failure_code.h"
#include "tools/vtctl/security/token_text.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/security.h"

namespace vtctl {
namespace {

using vtclass::platform::FailureCode;
using vtclass::platform::OwnedKernelObject;

constexpr const char* kExamples =
    "Enables a privilege as agents do, in vtctl itself: when vtctl ends, nothing is left of it.\n"
    "Which privileges an account holds is a matter of the system's security policy (\"User "
    "Rights\n"
    "Assignment\") and counts from its next logon on.\n"
    "\n"
    "A name that the system does not know changes nothing. Agents take that for success, because\n"
    "older systems lack some privileges; so a misspelt name goes unnoticed there, and here it is\n"
    "told.\n"
    "\n"
    "Examples:\n"
    "  vtctl privilege SeBackupPrivilege\n"
    "  vtctl privilege SeTakeOwnershipPrivilege --json\n"
    "\n"
    "Exit codes: 0 it is enabled, 2 it is not held or cannot be enabled, 65 the system knows no\n"
    "privilege of that name.";

struct PrivilegeArguments : CommonArguments {
  std::wstring name;
};

// The rights of the process count where the thread's token is opened.
constexpr BOOL kOpenAsSelf = TRUE;

struct Answer {
  bool isKnown = false;
  bool isThread = false; /* whose token it was done to */
  std::wstring words;    /* what the system calls it */
  std::optional<DWORD> before, after;
  unsigned long readError = 0; /* why the states are not told */
  bool isAsserted = false;
  unsigned long error = 0; /* why it is not enabled */
};

// The token that AssertPrivilege changes.
OwnedKernelObject TokenToChange(bool& isThread) {
  OwnedKernelObject token;
  isThread = ::OpenThreadToken(::GetCurrentThread(), MAXIMUM_ALLOWED, kOpenAsSelf,
                               token.Receive()) != FALSE;
  if (!isThread) ::OpenProcessToken(::GetCurrentProcess(), MAXIMUM_ALLOWED, token.Receive());
  return token;
}

// Empty when the token does not hold it, or does not tell.
std::optional<DWORD> StateOf(LUID number, HANDLE token, unsigned long& error) {
  std::vector<TokenPrivilege> held;
  if (!ReadPrivileges(token, held)) {
    error = ::GetLastError();
    return std::nullopt;
  }
  const auto found = std::ranges::find_if(held, [&](const TokenPrivilege& privilege) {
    return privilege.number.LowPart == number.LowPart &&
           privilege.number.HighPart == number.HighPart;
  });
  if (found == held.end()) return std::nullopt;
  return found->attributes;
}

std::wstring WordsFor(const std::wstring& name) {
  wchar_t words[256] = {};
  DWORD units = ARRAYSIZE(words);
  DWORD language = 0;
  return ::LookupPrivilegeDisplayNameW(nullptr, name.c_str(), words, &units, &language) ? words
                                                                                        : L"";
}

Answer Assert(const std::wstring& name) {
  Answer answer;
  LUID number = {};
  answer.isKnown = ::LookupPrivilegeValueW(nullptr, name.c_str(), &number) != FALSE;
  answer.words = WordsFor(name);
  const OwnedKernelObject token = TokenToChange(answer.isThread);
  if (answer.isKnown) answer.before = StateOf(number, token.Get(), answer.readError);
  answer.isAsserted = ::AssertPrivilege(name.c_str(), kOpenAsSelf) != 0;
  if (!answer.isAsserted) answer.error = FailureCode();
  if (answer.isKnown) answer.after = StateOf(number, token.Get(), answer.readError);
  return answer;
}

int ExitCodeOf(const Answer& answer) {
  if (!answer.isAsserted) return kExitErrors;
  return answer.isKnown ? kExitClean : kExitBadInput;
}

const wchar_t* TokenWord(const Answer& answer) { return answer.isThread ? L"thread" : L"process"; }

std::wstring StateText(const Answer& answer, const std::optional<DWORD>& state) {
  if (answer.readError != 0) return L"not told: " + SystemText(answer.readError);
  return state ? PrivilegeState(*state) : L"not held";
}

std::wstring Text(const std::wstring& name, const Answer& answer) {
  std::wstring text = Printable(name);
  if (!answer.words.empty()) text += L": " + Printable(answer.words);
  text += L"\n  Known     " + std::wstring(YesNo(answer.isKnown)) + L"\n";
  if (!answer.isKnown) {
    return text + L"  Enabled   no; agents are told yes, as with every name that a system lacks\n";
  }
  return text + L"  Token     of the " + TokenWord(answer) + L"\n  Before    " +
         StateText(answer, answer.before) + L"\n  Enabled   " +
         (answer.isAsserted ? L"yes" : L"no: " + SystemText(answer.error)) + L"\n  After     " +
         StateText(answer, answer.after) + L"\n";
}

Json ToJson(const std::wstring& name, const Answer& answer) {
  const auto state = [](const std::optional<DWORD>& attributes) {
    return attributes ? Json((*attributes & SE_PRIVILEGE_ENABLED) != 0) : Json();
  };
  Json json = {{"privilege", ToUtf8(name)},
               {"description", TextOrNull(answer.words)},
               {"known", answer.isKnown},
               {"token", ToUtf8(TokenWord(answer))},
               {"held", answer.readError == 0 ? Json(answer.before.has_value()) : Json()},
               {"enabledBefore", state(answer.before)},
               {"enabledAfter", state(answer.after)},
               {"agentsAreTold", answer.isAsserted}};
  AddStatus(json, answer.error);
  return json;
}

int Run(const PrivilegeArguments& arguments) {
  const Answer answer = Assert(arguments.name);
  arguments.json ? PrintJson(ToJson(arguments.name, answer)) : Print(Text(arguments.name, answer));
  return ExitCodeOf(answer);
}

}  // namespace

void AddPrivilegeCommand(Command& program) {
  auto privilege = program.Add(
      "privilege", "Enable a privilege as agents do, and tell how it was and is", kExamples, Run);
  privilege.Text("NAME", privilege->name, "Such as SeBackupPrivilege").Required();
  privilege.Json("One JSON object");
}

}  // namespace vtctl
