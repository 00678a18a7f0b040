#include "tools/vtctl/session/read_as.h"

#include "platform/failure_code.h"
#include "tools/vtctl/session/settings.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/exit_code.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/security.h"

namespace vtctl {
namespace {

using vtclass::platform::FailureCode;

int Refused(const std::wstring& account, const wchar_t* what, DWORD error, bool isStored) {
  const std::wstring source =
      isStored ? L"; the password is that of \"Account Password\" in the settings" : L"";
  return FailWith(kExitNoInput, error,
                  account + what + SystemText(error) + source + L"; 'vtctl logon' tells more");
}

}  // namespace

ReadingAs::ReadingAs(HANDLE token) {
  if (!token) return;
  ::SetLastError(ERROR_SUCCESS);
  isActing = ::ImpersonateLoggedOnUser(token) != FALSE;
  if (!isActing) error = FailureCode();
}

ReadingAs::~ReadingAs() {
  if (!isActing) return;
  const DWORD lastError = ::GetLastError();
  if (!::RevertToSelf()) {
    Fail(kExitInternal, L"A thread did not come back from the account as which it reads",
         ::GetLastError());
    ::TerminateProcess(::GetCurrentProcess(), kExitInternal);
  }
  ::SetLastError(lastError);
}

int LogOnReader(const std::wstring& account, const KeyPath& settings, ReaderAccount& reader) {
  Secret password;
  const bool isStored = LoadStoredPassword(settings, account, password);
  const int code = isStored ? kExitClean : ReadPassword(account, password);
  if (code != kExitClean) return code;
  unsigned long error = 0;
  const WidePassword wide(password);
  reader.token.Reset(Impersonator::VTLogonUser(account.c_str(), wide.Text(), &error));
  if (!reader.token) return Refused(account, L" cannot be logged on: ", error, isStored);
  const ReadingAs acting(reader.token.Get());
  if (acting.Error() != ERROR_SUCCESS) {
    return Refused(account, L" cannot be impersonated: ", acting.Error(), isStored);
  }
  reader.name = Impersonator::WhoAmI();
  if (reader.name == L"\\") reader.name = account;
  return kExitClean;
}

}  // namespace vtctl
