#include <vtclass/win32.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "config/product_keys.h"
#include "tools/vtctl/doctor/report.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/key_path.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

using namespace doctor;

constexpr const char* kFooter =
    "Looks once at everything that an agent needs here, and says of each thing: ok, note (worth\n"
    "knowing), warning or problem, why, and what to do. Nothing that lasts is changed: in the\n"
    "folders of debug logs a small file is made and deleted, which tells whether they can be\n"
    "written. Rights are those of the account that runs vtctl, so run it as the agents' account.\n"
    "\n"
    "Examples:\n"
    "  vtctl doctor\n"
    "  vtctl doctor --only resolver,identity --timeout 60\n"
    "  vtctl doctor --json > doctor.json\n"
    "\n"
    "Exit codes: 0 all is well or worth a note, 1 the worst is a warning, 2 a problem, 64 --only\n"
    "names no check, 70 vtctl itself failed, 73 the report could not be written, 130 interrupted:\n"
    "what was found until then is printed, and which checks were not made to the end.";

struct DoctorArguments : CommonArguments {
  std::optional<std::wstring> only;
  unsigned seconds = 10;
};

// The rows that `only` names, in the order of the table; without it all of them. What names none
// goes to `unknown`.
std::vector<CheckRow> Chosen(const std::optional<std::wstring>& chosen, std::wstring& unknown) {
  std::vector<CheckRow> rows(std::begin(kChecks), std::end(kChecks));
  if (!chosen) return rows;
  const std::wstring_view only = *chosen;
  std::vector<std::string> names;
  for (size_t at = 0; at <= only.size();) {
    const size_t end = std::min(only.find(L',', at), only.size());
    const std::wstring name(only.substr(at, end - at));
    names.push_back(ToUtf8(name));
    if (std::ranges::find(rows, names.back(), &CheckRow::name) == rows.end())
      unknown = L"\"" + Printable(name) + L"\"";
    at = end + 1;
  }
  std::erase_if(rows,
                [&](const CheckRow& row) { return std::ranges::count(names, row.name) == 0; });
  return rows;
}

std::wstring AllNames() {
  std::wstring names;
  for (const CheckRow& row : kChecks) names += (names.empty() ? L"" : L", ") + FromUtf8(row.name);
  return names;
}

std::wstring ThisAccount() {
  constexpr DWORD kLongestName = 257;
  wchar_t name[kLongestName] = {};
  DWORD size = kLongestName;
  return ::GetUserNameW(name, &size) ? name : L"";
}

Header AskHeader() {
  // The system's own: it needs no companion.
  wchar_t computer[MAX_COMPUTERNAME_LENGTH + 1] = {};
  DWORD size = ARRAYSIZE(computer);
  ::GetComputerNameW(computer, &size);
  return {IsoTime(), computer, ThisAccount(),
          KeyName({HKEY_LOCAL_MACHINE, vtclass::config::kProductRoot.Path()})};
}

// The process ends here when a check was left behind: that may hold what an orderly end waits for,
// the loader's lock above all, and may use what such an end destroys.
int EndWith(int code, bool isCheckLeftBehind) {
  if (isCheckLeftBehind)
    ::TerminateProcess(::GetCurrentProcess(), static_cast<UINT>(EndCode(code)));
  return code;
}

int Run(const DoctorArguments& arguments) {
  std::wstring unknown;
  const std::vector<CheckRow> rows = Chosen(arguments.only, unknown);
  if (!unknown.empty())
    return Fail(kExitUsage, unknown + L" is no check. There are " + AllNames() + L".");
  const Header header = AskHeader();
  const auto columns = static_cast<size_t>(TerminalWidth());
  const bool colours = ColoursWanted();
  if (!arguments.json) Print(Text(header, columns));
  Report report;
  bool isCheckLeftBehind = false;
  for (const CheckRow& row : rows) {
    if (!report.interrupted.empty()) {
      report.interrupted.push_back(FromUtf8(row.name));
      continue;
    }
    CheckResult result = RunCheck(row, arguments.seconds * 1000);
    isCheckLeftBehind = isCheckLeftBehind || result.end != WaitEnd::signalled;
    if (result.end == WaitEnd::interrupted) report.interrupted.push_back(FromUtf8(row.name));
    if (!arguments.json) Print(L"\n" + Text(result, columns, colours));
    report.results.push_back(std::move(result));
  }
  if (arguments.json) {
    PrintJson(ToJson(header, report));
  } else {
    Print(L"\n" + Wrapped(L"", Summary(report), 0, columns));
  }
  const bool isInterrupted = !report.interrupted.empty();
  return EndWith(isInterrupted ? int{kExitCancelled} : ExitCodeOf(Worst(report.results)),
                 isCheckLeftBehind);
}

}  // namespace

void AddDoctorCommand(Command& program) {
  constexpr size_t kHelpColumns = 92;
  const std::wstring checks = Wrapped(L"Checks: ", AllNames() + L".", 8, kHelpColumns);
  auto doctor = program.Add("doctor", "Look over everything that an agent needs on this machine",
                            (ToUtf8(checks) + "\n" + kFooter).c_str(), Run);
  doctor.Text("--only NAME[,NAME]", doctor->only, "Only these checks");
  doctor.Count("--timeout SECONDS", doctor->seconds, "How long one check may take (10)", kSeconds);
  doctor.Json("One JSON object with everything");
}

}  // namespace vtctl
