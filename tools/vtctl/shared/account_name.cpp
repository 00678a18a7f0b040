#include "tools/vtctl/shared/account_name.h"

#include <sddl.h>

#include "platform/failure_code.h"
#include "platform/owned.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

constexpr DWORD kNameUnits = 257;

std::wstring SidText(PSID account) {
  wchar_t* text = nullptr;
  if (!::ConvertSidToStringSidW(account, &text)) return L"?";
  const vtclass::platform::OwnedLocalMemory memory(text);
  return text;
}

}  // namespace

AccountName NameOf(PSID account) {
  wchar_t name[kNameUnits] = {};
  wchar_t domain[kNameUnits] = {};
  DWORD nameUnits = kNameUnits;
  DWORD domainUnits = kNameUnits;
  SID_NAME_USE use = {};
  const std::wstring sid = SidText(account);
  ::SetLastError(ERROR_SUCCESS);
  if (!::LookupAccountSidW(nullptr, account, name, &nameUnits, domain, &domainUnits, &use)) {
    return {sid, sid, vtclass::platform::FailureCode()};
  }
  return {domain[0] == L'\0' ? name : domain + (L"\\" + std::wstring(name)), sid};
}

std::wstring Shown(const AccountName& account) {
  if (account.error == ERROR_SUCCESS) return Printable(account.name);
  return account.sid + L" (no name: " + SystemText(account.error) + L")";
}

}  // namespace vtctl
