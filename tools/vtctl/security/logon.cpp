#include "tools/vtctl/security/logon.h"

#include <vtstdutl/vtstdutl.h>

#include <algorithm>
#include <cwchar>
#include <string_view>

#include "config/registry_values.h"
#include "platform/no_throw.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/config.h"
#include "vtclass/security.h"

namespace vtctl {
namespace {

using vtclass::config::kLogonUserType;

// Collects what the library traces of a logon, for one scope.
class LogonTraces {
 public:
  LogonTraces() { ::VTSetTraceSink(&Keep, this); }
  ~LogonTraces() { ::VTSetTraceSink(nullptr, nullptr); }
  LogonTraces(const LogonTraces&) = delete;
  LogonTraces& operator=(const LogonTraces&) = delete;

  std::vector<std::wstring> lines;

 private:
  static void Keep(const wchar_t* source, unsigned long, const wchar_t* text, void* self) {
    if (std::wstring_view(source) != L"impersonator") return;
    // Without memory the logon goes on without this line.
    vtclass::platform::StatusOf([&] { static_cast<LogonTraces*>(self)->lines.emplace_back(text); });
  }
};

// "LogonType set = [LOGON32_LOGON_BATCH][0x4]"
std::optional<LogonType> TypeIn(const std::vector<std::wstring>& lines) {
  constexpr std::wstring_view kStart = L"LogonType set = [";
  constexpr std::wstring_view kMiddle = L"][0x";
  for (const std::wstring& line : lines) {
    if (!line.starts_with(kStart)) continue;
    const std::size_t end = line.find(kMiddle);
    if (end == std::wstring::npos) continue;
    return LogonType{std::wcstoul(line.c_str() + end + kMiddle.size(), nullptr, 16),
                     line.substr(kStart.size(), end - kStart.size())};
  }
  return std::nullopt;
}

bool IsLoggedOnBy(const std::vector<std::wstring>& lines) {
  return std::ranges::any_of(
      lines, [](const std::wstring& line) { return line.starts_with(L"LogonUser("); });
}

TypeChoice Standard(const LogonType& type, const std::wstring& why) {
  const bool isStandard =
      type.number == LOGON32_LOGON_INTERACTIVE || type.number == LOGON32_LOGON_BATCH;
  if (isStandard) return {TypeChoice::standard, L"the default: " + why};
  return {TypeChoice::unknown, L"not known, the registry has changed since: " + why};
}

// Looks where the library has looked. What it has done then is in `type`; where the two do not
// agree any more it is that which counts.
TypeChoice ChoiceOf(const LogonType& type) {
  const std::wstring key = std::wstring(L"HKEY_LOCAL_MACHINE\\") + kLogonUserType.key.Path();
  const std::wstring value = L"\"" + std::wstring(kLogonUserType.name) + L"\" ";
  Configuration agents;
  unsigned long stored = 0;
  if (!agents.Open(Configuration::openExisting, kLogonUserType.key.Path(), nullptr,
                   Configuration::accessRead | Configuration::accessWrite)) {
    const auto status = static_cast<unsigned long>(agents.GetErrorCode());
    if (status == ERROR_FILE_NOT_FOUND) return Standard(type, L"there is no key " + key);
    return Standard(type, L"the key " + key +
                              L" cannot be opened for reading and writing, so that what it holds "
                              L"does not count: " +
                              SystemText(status));
  }
  if (agents.LoadDWORD(kLogonUserType.name, stored)) {
    if (stored == type.number) return {TypeChoice::stored, value + L"in " + key};
    return {TypeChoice::unknown, L"not known, the registry has changed since: " + value + L"in " +
                                     key + L" is " + std::to_wstring(stored)};
  }
  const long status = agents.GetErrorCode();
  if (status == ERROR_FILE_NOT_FOUND) return Standard(type, value + L"is not stored in " + key);
  if (status == -1) {
    return Standard(type, value + L"in " + key + L" is no REG_DWORD and does not count");
  }
  return Standard(type, value + L"in " + key + L" cannot be read: " +
                            SystemText(static_cast<unsigned long>(status)));
}

}  // namespace

LogonReport TryLogon(const std::wstring& account, const Secret& password) {
  LogonReport report;
  report.before = AskActing();
  LogonTraces traces;
  {
    const WidePassword wide(password);
    const vtclass::ImpersonationScope scope(account.c_str(), wide.Text());
    report.error = scope.GetErrorCode();
    if (scope) {
      report.during = AskActing();
      report.token = FactsOfThread();
    }
  }
  report.after = AskActing();
  report.isReverted = !FactsOfThread();
  report.traces = std::move(traces.lines);
  report.type = TypeIn(report.traces);
  report.isLoggedOn = IsLoggedOnBy(report.traces);
  if (report.type) report.choice = ChoiceOf(*report.type);
  return report;
}

}  // namespace vtctl
