// The registry and the service are real: the agent's keys lie in the test's own HKEY_LOCAL_MACHINE,
// and a small service program is registered as the agent's. The network is played.
#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <winnetwk.h>

#include <bit>
#include <optional>
#include <set>
#include <string>

#include "tests/support/allocations.h"
#include "tests/support/answered_look_ups.h"
#include "tests/support/handle_counter.h"
#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "tests/support/test_service.h"
#include "vtclass/agent.h"
#include "vtclass/product.h"

namespace {

using namespace vtclass::test;
using Adv = AgentAdvConfig;

constexpr wchar_t kRoot[] = L"Software\\Norvane\\Vantorel For Windows\\Vantorel";
constexpr wchar_t kSiblingRoot[] = L"Software\\Quorrel\\Strandel\\VTDS";
constexpr wchar_t kOlder[] = L"Software\\Quorrel\\Agent Sprintel for Windows NT/2000";
constexpr wchar_t kOlder10[] =
    L"Software\\Quorrel\\Vantorel\\Agent Sprintel for Windows NT/2000\\10.0";
constexpr wchar_t kService[] = L"VantorelAgentSprintel";
constexpr unsigned kReadWrite = Configuration::accessRead | Configuration::accessWrite;

// What the system answers, where it is not its own answer.
struct Played {
  DWORD connection, cancellation, manager, service, query;
  LSTATUS registry, key;  // the second for keys with this in their path
  const wchar_t* keyPart;
  bool serviceIsReal;  // otherwise another service takes the place of the agent's, and runs
} played;

std::wstring seen;  // calls that name a machine, in their order
REGSAM agentsAccess;
int services;

decltype(::RegOpenKeyExW)* openKey;
decltype(::RegConnectRegistryW)* connectRegistry;
HandleCounter* handles;

DWORD WINAPI AddConnection(NETRESOURCEW* resource, LPCWSTR password, LPCWSTR user, DWORD flags) {
  EXPECT_EQ(flags | resource->dwType, 0u);
  EXPECT_EQ(resource->lpLocalName, nullptr);
  EXPECT_EQ(resource->lpProvider, nullptr);
  const auto shown = [](LPCWSTR text) { return text ? L"<" + std::wstring(text) + L">" : L"-"; };
  seen += L"connect " + std::wstring(resource->lpRemoteName) + shown(user) + shown(password) + L";";
  return played.connection;
}

DWORD WINAPI CancelConnection(LPCWSTR name, DWORD flags, BOOL force) {
  EXPECT_EQ(flags, 0u);
  EXPECT_FALSE(force);
  EXPECT_EQ(handles->Open(), 0) << "keys are closed before their connection";
  seen += L"cancel " + std::wstring(name) + L";";
  return played.cancellation;
}

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
  if (std::string(name) == "WNetAddConnection2W") return std::bit_cast<FARPROC>(&AddConnection);
  if (std::string(name) == "WNetCancelConnection2W") {
    return std::bit_cast<FARPROC>(&CancelConnection);
  }
  return ::GetProcAddress(module, name);
}

// NOLINTNEXTLINE(cert-err58-cpp): what throws here ends the test program, as it should
[[maybe_unused]] auto* const lookUps = AnswerLookUps(&LookUp);

LSTATUS WINAPI Connect(LPCWSTR machine, HKEY root, PHKEY key) {
  seen += L"registry " + std::wstring(machine) + L";";
  return played.registry ? played.registry : connectRegistry(nullptr, root, key);
}

LSTATUS WINAPI OpenKey(HKEY root, LPCWSTR path, DWORD options, REGSAM access, PHKEY key) {
  const std::wstring text = path;
  if (text.ends_with(L"Engine\\Agents")) agentsAccess = access;
  EXPECT_NE(access & KEY_WOW64_64KEY, 0u) << path;
  if (played.keyPart && text.find(played.keyPart) != std::wstring::npos) return played.key;
  return openKey(root, path, options, access, key);
}

SC_HANDLE Refuse(DWORD code) {
  ::SetLastError(code);
  return nullptr;
}

SC_HANDLE WINAPI OpenManager(LPCWSTR machine, LPCWSTR database, DWORD access) {
  EXPECT_EQ(access, DWORD{SC_MANAGER_CONNECT});
  EXPECT_EQ(database, nullptr);
  if (machine) seen += L"services " + std::wstring(machine) + L";";
  if (played.manager) return Refuse(played.manager);
  ++services;
  return ::OpenSCManagerW(nullptr, nullptr, access);
}

SC_HANDLE WINAPI OpenAgentService(SC_HANDLE manager, LPCWSTR name, DWORD access) {
  EXPECT_EQ(access, DWORD{SERVICE_QUERY_STATUS});
  EXPECT_STREQ(name, kService);
  if (played.service) return Refuse(played.service);
  const SC_HANDLE service = ::OpenServiceW(manager, played.serviceIsReal ? name : L"RpcSs", access);
  if (service) ++services;
  return service;
}

BOOL WINAPI CloseService(SC_HANDLE handle) {
  --services;
  return ::CloseServiceHandle(handle);
}

BOOL WINAPI QueryService(SC_HANDLE service, SERVICE_STATUS* status) {
  if (played.serviceIsReal) return ::QueryServiceStatus(service, status);
  status->dwCurrentState = SERVICE_RUNNING;
  ::SetLastError(played.query);
  return played.query == 0;
}

// A machine without anything of the product.
class Machine {
 public:
  Machine() {
    played = {};
    seen.clear();
    openKey = open.Original();
    connectRegistry = connect.Original();
    handles = &counter;
  }
  ~Machine() {
    CMS_SetProd(0);
    EXPECT_EQ(counter.Open(), 0) << "keys are still open";
    EXPECT_EQ(services, 0) << "service handles are still open";
  }
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

 private:
  PrivateRegistry registry;
  HandleCounter counter;
  // Not counted: a library that was bound stays.
  ImportHook<decltype(::LoadLibraryExW)> load{"KERNEL32.dll", "LoadLibraryExW", &::LoadLibraryExW};
  ImportHook<decltype(::RegOpenKeyExW)> open{"ADVAPI32.dll", "RegOpenKeyExW", &OpenKey};
  ImportHook<decltype(::RegConnectRegistryW)> connect{"ADVAPI32.dll", "RegConnectRegistryW",
                                                      &Connect};
  ImportHook<decltype(::OpenSCManagerW)> manager{"ADVAPI32.dll", "OpenSCManagerW", &OpenManager};
  ImportHook<decltype(::OpenServiceW)> service{"ADVAPI32.dll", "OpenServiceW", &OpenAgentService};
  ImportHook<decltype(::CloseServiceHandle)> close{"ADVAPI32.dll", "CloseServiceHandle",
                                                   &CloseService};
  ImportHook<decltype(::QueryServiceStatus)> query{"ADVAPI32.dll", "QueryServiceStatus",
                                                   &QueryService};
};

void Agents(const std::wstring& root = kRoot) { MakeKey(root + L"\\Engine\\Agents"); }

void Install(const std::wstring& version, DWORD major, DWORD type = REG_DWORD,
             const std::wstring& root = kRoot) {
  StoreValue(root + L"\\" + version + L"\\Install", L"Major Version", type, &major, sizeof(major));
}

void Whole() {
  Agents();
  Install(L"13.0", 13);
}

void Deny(const wchar_t* part) {
  played.keyPart = part;
  played.key = ERROR_ACCESS_DENIED;
}

unsigned long OpenHere(Adv& adv) { return adv.Open(nullptr, L"no", L"one", kReadWrite); }
unsigned long OpenThere(Adv& adv) { return adv.Open(L"SRV", nullptr, nullptr, kReadWrite); }

TEST(AgentAdvConfigOpen, EachStep_GivesItsStatus) {
  const struct {
    const char* what;
    void (*arrange)();
    unsigned long status;
    unsigned long code;
  } rows[] = {
      {"whole", [] { Whole(); }, 0, 0},
      {"nothing", [] {}, Adv::notInstalled, 2},
      {"older generation", [] { MakeKey(kOlder); }, Adv::otherVersion, 2},
      {"older generation, 10.0", [] { MakeKey(kOlder10); }, Adv::otherVersion, 2},
      {"older generation, not to be read", [] { MakeKey(kOlder10), Deny(kOlder); },
       Adv::notInstalled, 5},
      {"agents key not to be read", [] { Whole(), MakeKey(kOlder), Deny(L"Engine\\Agents"); },
       Adv::notInstalled, 5},
      {"no version", [] { Agents(); }, Adv::notInstalled, 2},
      {"version not to be read", [] { Whole(), Install(L"12.5", 13), Deny(L"13.0"); },
       Adv::notInstalled, 5},
      {"number missing", [] { Agents(), MakeKey(std::wstring(kRoot) + L"\\13.0\\Install"); },
       Adv::notInstalled, 2},
      {"number no number", [] { Agents(), Install(L"13.0", 13, REG_BINARY); }, Adv::notInstalled,
       0xFFFFFFFF},
      {"newest version looked for", [] { Whole(), Install(L"19.9", 19); }, Adv::otherVersion,
       Adv::otherVersion},
      {"oldest version looked for", [] { Agents(), Install(L"10.0", 13); }, 0, 0},
      {"too old to be looked for", [] { Agents(), Install(L"9.9", 13); }, Adv::notInstalled, 2},
      {"too new to be looked for", [] { Whole(), Install(L"20.0", 20); }, 0, 0},
      {"an older key beside", [] { Whole(), Install(L"12.5", 12); }, 0, 0},
      {"a newer minor version", [] { Install(L"13.1", 12), Whole(); }, Adv::olderVersion,
       Adv::olderVersion},
      {"older version", [] { Agents(), Install(L"12.5", 12); }, Adv::olderVersion,
       Adv::olderVersion},
      {"the stored number decides", [] { Agents(), Install(L"13.0", 14); }, Adv::otherVersion,
       Adv::otherVersion},
      {"no right to the manager", [] { Whole(), played.manager = 5; }, Adv::accessDenied, 5},
      {"no manager", [] { Whole(), played.manager = 1722; }, Adv::notReachable, 1722},
      {"no right to the service", [] { Whole(), played.service = 5; }, Adv::accessDenied, 5},
      {"no name of a service", [] { Whole(), played.service = 123; }, Adv::notInstalled, 123},
      {"no such service", [] { Whole(), played.service = 1060; }, Adv::notInstalled, 1060},
      {"service not to be opened", [] { Whole(), played.service = 1722; }, Adv::notReachable, 1722},
      {"state not to be had", [] { Whole(), played.query = 1722; }, Adv::notRunning, 1722},
      {"sibling product",
       [] {
         CMS_SetProd(1);
         Agents(kSiblingRoot), Install(L"13.0", 13, REG_DWORD, kSiblingRoot);
       },
       0, 0},
      {"the other product's", [] { CMS_SetProd(1), Whole(); }, Adv::notInstalled, 2},
  };
  for (const auto& [what, arrange, status, code] : rows) {
    for (const bool isThere : {false, true}) {
      const Machine machine;
      arrange();
      Adv adv;
      EXPECT_EQ(isThere ? OpenThere(adv) : OpenHere(adv), status) << what;
      EXPECT_EQ(adv.GetErrorCode(), code) << what;
      EXPECT_EQ(seen.starts_with(L"connect \\\\SRV\\IPC$"), isThere) << what;
    }
  }
}

TEST(AgentAdvConfigOpen, Service_IsTheRealOne) {
  const Machine machine;
  Whole();
  played.serviceIsReal = true;
  Adv adv;
  std::optional<TestService> service(kService);
  if (!service->Usable()) GTEST_SKIP() << kNoService;
  EXPECT_EQ(OpenHere(adv), Adv::notRunning);
  EXPECT_EQ(adv.GetErrorCode(), Adv::notRunning);
  unsigned long minutes = 0;
  EXPECT_EQ(adv.SetAdvertiseInterval(7), 0u) << "its settings can be changed";
  EXPECT_EQ(adv.GetAdvertiseInterval(minutes), 0u);
  service->Start();
  EXPECT_EQ(OpenHere(adv), 0u);
  EXPECT_EQ(adv.GetErrorCode(), Adv::notRunning) << "a success leaves it";
  service->Stop();
  EXPECT_EQ(OpenHere(adv), Adv::notRunning);
  service.reset();
  EXPECT_EQ(OpenHere(adv), Adv::notInstalled);
  EXPECT_EQ(adv.GetErrorCode(), DWORD{ERROR_SERVICE_DOES_NOT_EXIST});
  EXPECT_EQ(minutes, 7u);
}

TEST(AgentAdvConfigOpen, Connection_StatusesOfAccessAreToldApart) {
  const Machine machine;
  Whole();
  std::set<DWORD> refusals = {5, 86, 1219, 1244, 1385, 1793, 1807, 1808, 1809, 1907, 2202};
  for (DWORD code = 1323; code <= 1331; ++code) refusals.insert(code);
  Adv adv;
  for (played.connection = 1; played.connection < 2500; ++played.connection) {
    EXPECT_EQ(OpenThere(adv),
              refusals.contains(played.connection) ? Adv::accessDenied : Adv::notReachable)
        << played.connection;
    EXPECT_EQ(adv.GetErrorCode(), played.connection);
  }
  EXPECT_EQ(seen.find(L";registry"), std::wstring::npos) << "nothing else is asked";
  EXPECT_EQ(seen.find(L"cancel"), std::wstring::npos) << "nothing was connected";
  played.connection = 0;
  played.registry = ERROR_BAD_NETPATH;
  EXPECT_EQ(OpenThere(adv), Adv::notInstalled);
  EXPECT_EQ(adv.GetErrorCode(), DWORD{ERROR_BAD_NETPATH});
}

TEST(AgentAdvConfigOpen, Server_IsFoundInItsName) {
  const Machine machine;
  Whole();
  for (const wchar_t* name : {L"SRV", L"\\\\SRV", L"\\SRV\\", L"\\\\\\SRV\\C$\\data"}) {
    Adv adv;
    seen.clear();
    EXPECT_EQ(adv.Open(name, L"DOM\\user", L"", Configuration::accessRead), 0u) << name;
    EXPECT_EQ(seen,
              L"connect \\\\SRV\\IPC$<DOM\\user><>;registry \\\\SRV;registry \\\\SRV;"
              L"services \\\\SRV;");
    EXPECT_EQ(agentsAccess, REGSAM{KEY_READ | KEY_WOW64_64KEY});
  }
  Adv adv;
  seen.clear();
  EXPECT_EQ(adv.Open(L"\\\\", nullptr, nullptr, kReadWrite), Adv::notReachable);
  EXPECT_EQ(adv.GetErrorCode(), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(adv.Open(L"", L"user", L"password", kReadWrite), 0u) << "this machine";
  EXPECT_EQ(agentsAccess, REGSAM{KEY_READ | KEY_WRITE | KEY_WOW64_64KEY});
  EXPECT_EQ(seen, L"");
  EXPECT_EQ(OpenThere(adv), 0u);
  EXPECT_TRUE(seen.starts_with(L"connect \\\\SRV\\IPC$--;"));
}

TEST(AgentAdvConfigOpen, Connection_IsCancelledOnce) {
  const Machine machine;
  const std::wstring cancelled = L"cancel \\\\SRV\\IPC$;";
  {
    Adv adv;
    EXPECT_EQ(OpenThere(adv), Adv::notInstalled);
    EXPECT_EQ(seen.find(L"cancel"), std::wstring::npos) << "a failed Open keeps it";
    seen.clear();
    Whole();
    EXPECT_EQ(OpenThere(adv), 0u);
    EXPECT_TRUE(seen.starts_with(cancelled + L"connect")) << "the next Open closes first";
    seen.clear();
    EXPECT_EQ(OpenHere(adv), 0u);
    EXPECT_EQ(adv.Close(), 0u);
    EXPECT_EQ(seen, cancelled);
    EXPECT_EQ(adv.EnableAdv(), DWORD{ERROR_INVALID_HANDLE});
    seen.clear();
    EXPECT_EQ(OpenThere(adv), 0u);
    seen.clear();
  }
  EXPECT_EQ(seen, cancelled);
  Adv adv;
  EXPECT_EQ(OpenThere(adv), 0u);
  seen.clear();
  played.cancellation = ERROR_OPEN_FILES;
  EXPECT_EQ(adv.Close(), 0u);
  EXPECT_EQ(adv.GetErrorCode(), DWORD{ERROR_OPEN_FILES});
  EXPECT_EQ(adv.Close(), 0u);
  EXPECT_EQ(seen, cancelled) << "not tried again";
}

TEST(AgentAdvConfigOpen, WantOfMemory_IsTold) {
  const Machine machine;
  Whole();
  Adv adv;
  OpenThere(adv);
  for (long n = 1;; ++n) {
    Allocations allocations;
    allocations.FailAt(n);
    const unsigned long status = OpenThere(adv);
    EXPECT_EQ(status, allocations.Failed() ? DWORD{ERROR_NOT_ENOUGH_MEMORY} : 0) << n;
    if (!allocations.Failed()) break;
    EXPECT_EQ(adv.GetErrorCode(), DWORD{ERROR_NOT_ENOUGH_MEMORY}) << n;
  }
}

}  // namespace
