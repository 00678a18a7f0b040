#include "tools/vtctl/ask/service_facts.h"

#include <vtclass/win32.h>

#include "platform/owned.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

using vtclass::platform::OwnedService;

const wchar_t* StateWord(DWORD state) {
  switch (state) {
    case SERVICE_STOPPED:
      return L"stopped";
    case SERVICE_START_PENDING:
      return L"starting";
    case SERVICE_STOP_PENDING:
      return L"stopping";
    case SERVICE_RUNNING:
      return L"running";
    default:
      return L"paused";
  }
}

ServiceFact LookAt(SC_HANDLE manager, const std::wstring& name) {
  const OwnedService service(::OpenServiceW(manager, name.c_str(), SERVICE_QUERY_STATUS));
  SERVICE_STATUS status = {};
  if (!service || !::QueryServiceStatus(service.Get(), &status)) {
    const DWORD error = ::GetLastError();
    // No service can have a name that the system refuses.
    if (error == ERROR_SERVICE_DOES_NOT_EXIST || error == ERROR_INVALID_NAME) {
      return {name, L"not installed", false, false};
    }
    return {name, L"not visible: " + SystemText(error), true, false};
  }
  return {name, StateWord(status.dwCurrentState), true, status.dwCurrentState == SERVICE_RUNNING};
}

}  // namespace

ServiceFacts LookAtServices(const std::wstring& computer, const std::vector<std::wstring>& names) {
  ServiceFacts facts;
  const OwnedService manager(::OpenSCManagerW(computer.c_str(), nullptr, SC_MANAGER_CONNECT));
  if (!manager) {
    facts.problem = SystemText(::GetLastError());
    return facts;
  }
  for (const std::wstring& name : names) facts.services.push_back(LookAt(manager.Get(), name));
  return facts;
}

}  // namespace vtctl
