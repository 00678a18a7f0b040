#include "tools/vtctl/security/acting.h"

#include "tools/vtctl/shared/account_name.h"
#include "tools/vtctl/shared/printable.h"
#include "vtclass/security.h"

namespace vtctl {

Acting AskActing() {
  Acting acting;
  wcstring domain;
  wcstring user;
  Impersonator::WhoAmI(domain, user);
  if (!user.empty()) acting.name = domain + L"\\" + user;
  Impersonator impersonator;
  void* sid = nullptr;
  if (impersonator.GetSid(sid)) acting.sid = NameOf(sid).sid;
  return acting;
}

std::wstring Shown(const Acting& acting) {
  if (!acting.name.empty()) return Printable(acting.name);
  return acting.sid.empty() ? L"(not known)" : acting.sid;
}

}  // namespace vtctl
