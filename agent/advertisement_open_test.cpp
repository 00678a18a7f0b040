// The registry and the service are real: the keys lie in the test's own HKEY_LOCAL_MACHINE, and a
// small service program is registered as the agent's. The network is played.
#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <winnetwk.h>

#include <bit>
#include <optional>
#include <set>
#include <sstream>
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
constexpr wchar_t kService[] = L"VantorelAgentSprintel";
constexpr unsigned kReadWrite = Configuration::accessRead | Configuration::accessWrite;

// What the system answers in place of its own answer.
struct Played {
  DWORD connection, cancellation, manager, service, query;
  LSTATUS registry;
  std::wstring deniedKeys;  // a part of their paths
  bool serviceIsReal;       // otherwise another one takes the place of the agent's, and runs
} played;

std::wstring seen;  // calls that name a machine, in their order
REGSAM agentsAccess;
int services;

decltype(::RegOpenKeyExW)* openKey;
decltype(::RegConnectRegistryW)* connectRegistry;
HandleCounter* handles;

DWORD WINAPI AddConnection(NETRESOURCEW* resource, LPCWSTR password, LPCWSTR user, DWORD flags) {
  EXPECT_EQ(flags | resource->dwType, 0u);
  EXPECT_FALSE(resource->lpLocalName);
  EXPECT_FALSE(resource->lpProvider);
  const auto shown = [](LPCWSTR text) { return text ? L"<" + std::wstring(text) + L">" : L"-"; };
  seen += L"connect " + std::wstring(resource->lpRemoteName) + shown(user) + shown(password) + L";";
  return played.connection;
}

DWORD WINAPI CancelConnection(LPCWSTR name, DWORD flags, BOOL force) {
  EXPECT_EQ(flags | static_cast<DWORD>(force), 0u);
  EXPECT_EQ(handles->Open(), 0) << "keys are closed before their connection";
  seen += L"cancel " + std::wstring(name) + L";";
  return played.cancellation;
}

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
  const std::string function = name;
  if (function == "WNetAddConnection2W") return std::bit_cast<FARPROC>(&AddConnection);
  if (function == "WNetCancelConnection2W") return std::bit_cast<FARPROC>(&CancelConnection);
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
  const std::wstring& denied = played.deniedKeys;
  if (!denied.empty() && text.find(denied) != std::wstring::npos) return ERROR_ACCESS_DENIED;
  return openKey(root, path, options, access, key);
}

SC_HANDLE Refused(DWORD code) {
  ::SetLastError(code);
  return nullptr;
}

SC_HANDLE Counted(SC_HANDLE handle) {
  if (handle) ++services;
  return handle;
}

SC_HANDLE WINAPI OpenManager(LPCWSTR machine, LPCWSTR, DWORD access) {
  EXPECT_EQ(access, DWORD{SC_MANAGER_CONNECT});
  if (machine) seen += L"services " + std::wstring(machine) + L";";
  return played.manager ? Refused(played.manager)
                        : Counted(::OpenSCManagerW(nullptr, nullptr, access));
}

SC_HANDLE WINAPI OpenAgent(SC_HANDLE manager, LPCWSTR name, DWORD access) {
  EXPECT_EQ(access, DWORD{SERVICE_QUERY_STATUS});
  EXPECT_STREQ(name, kService);
  if (played.service) return Refused(played.service);
  return Counted(::OpenServiceW(manager, played.serviceIsReal ? name : L"RpcSs", access));
}

BOOL WINAPI CloseService(SC_HANDLE handle) {
  --services;
  return ::CloseServiceHandle(handle);
}

BOOL WINAPI QueryAgent(SC_HANDLE service, SERVICE_STATUS* status) {
  if (played.serviceIsReal) return ::QueryServiceStatus(service, status);
  status->dwCurrentState = SERVICE_RUNNING;
  ::SetLastError(played.query);
  return played.query == 0;
}

// A machine with what the words tell: "A" the agents key, "O" and "P" the keys of the older
// generation, "13.0=13" a version and its number (0: of another type, 1: missing), "!x" no right to
// keys with x in their path.
class Machine {
 public:
  explicit Machine(const std::wstring& words, const std::wstring& root = kRoot) {
    played = {};
    seen.clear();
    openKey = open.Original();
    connectRegistry = connect.Original();
    handles = &counter;
    Install(words, root);
  }
  ~Machine() {
    EXPECT_EQ(counter.Open(), 0) << "keys are still open";
    EXPECT_EQ(services, 0) << "service handles are still open";
  }
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  static void Install(const std::wstring& words, const std::wstring& root = kRoot) {
    std::wistringstream all(words);
    for (std::wstring word; all >> word;) {
      if (word[0] == L'!') played.deniedKeys = word.substr(1);
      if (word == L"A") MakeKey(root + L"\\Engine\\Agents");
      if (word == L"O") MakeKey(std::wstring(L"Software\\Quorrel") + kOlder);
      if (word == L"P") MakeKey(std::wstring(L"Software\\Quorrel\\Vantorel") + kOlder + L"\\10.0");
      const std::size_t equals = word.find(L'=');
      if (equals == std::wstring::npos) continue;
      const DWORD number = std::stoul(word.substr(equals + 1));
      StoreValue(root + L"\\" + word.substr(0, equals) + L"\\Install",
                 number == 1 ? L"Minor Version" : L"Major Version",
                 number == 0 ? REG_BINARY : REG_DWORD, &number, sizeof(number));
    }
  }

 private:
  static constexpr wchar_t kOlder[] = L"\\Agent Sprintel for Windows NT/2000";

  PrivateRegistry registry;
  HandleCounter counter;
  // Not counted: a library that was bound stays.
  ImportHook<decltype(::LoadLibraryExW)> load{"KERNEL32.dll", "LoadLibraryExW", &::LoadLibraryExW};
  ImportHook<decltype(::RegOpenKeyExW)> open{"ADVAPI32.dll", "RegOpenKeyExW", &OpenKey};
  ImportHook<decltype(::RegConnectRegistryW)> connect{"ADVAPI32.dll", "RegConnectRegistryW",
                                                      &Connect};
  ImportHook<decltype(::OpenSCManagerW)> manager{"ADVAPI32.dll", "OpenSCManagerW", &OpenManager};
  ImportHook<decltype(::OpenServiceW)> service{"ADVAPI32.dll", "OpenServiceW", &OpenAgent};
  ImportHook<decltype(::CloseServiceHandle)> close{"ADVAPI32.dll", "CloseServiceHandle",
                                                   &CloseService};
  ImportHook<decltype(::QueryServiceStatus)> query{"ADVAPI32.dll", "QueryServiceStatus",
                                                   &QueryAgent};
};

unsigned long OpenHere(Adv& adv) { return adv.Open(nullptr, L"no", L"one", kReadWrite); }
unsigned long OpenThere(Adv& adv) { return adv.Open(L"SRV", nullptr, nullptr, kReadWrite); }

TEST(AgentAdvConfigOpen, KeysAndVersions_GiveTheirStatus) {
  const struct {
    const wchar_t* installed;
    unsigned long status;
    unsigned long code;
  } rows[] = {
      {L"A 13.0=13", 0, 0},
      {L"", Adv::notInstalled, 2},
      {L"O", Adv::otherVersion, 2},
      {L"P", Adv::otherVersion, 2},
      {L"O P !Sprintel", Adv::notInstalled, 5},
      {L"O P !Quorrel\\Agent", Adv::otherVersion, 2},
      {L"A O 13.0=13 !Engine", Adv::notInstalled, 5},
      {L"A O", Adv::notInstalled, 2},
      {L"A 13.0=13 12.5=13 !13.0", Adv::notInstalled, 5},
      {L"A 13.0=0 12.5=13", Adv::notInstalled, 0xFFFFFFFF},
      {L"A 13.0=1 12.5=13", Adv::notInstalled, 2},
      {L"A 13.0=13 20.0=20 9.9=9", 0, 0},
      {L"A 9.9=13", Adv::notInstalled, 2},
      {L"A 10.0=13", 0, 0},
      {L"A 13.0=13 19.9=19", Adv::otherVersion, Adv::otherVersion},
      {L"A 13.0=13 13.1=12", Adv::olderVersion, Adv::olderVersion},
      {L"A 13.0=13 12.9=12", 0, 0},
      {L"A 13.0=14", Adv::otherVersion, Adv::otherVersion},
  };
  for (const auto& [installed, status, code] : rows) {
    for (const bool isThere : {false, true}) {
      const Machine machine(installed);
      Adv adv;
      EXPECT_EQ(isThere ? OpenThere(adv) : OpenHere(adv), status) << installed;
      EXPECT_EQ(adv.GetErrorCode(), code) << installed;
    }
  }
  const Machine machine(L"A 13.0=13", L"Software\\Quorrel\\Strandel\\VTDS");
  Adv adv;
  EXPECT_EQ(OpenHere(adv), Adv::notInstalled) << "the other product's";
  CMS_SetProd(1);
  EXPECT_EQ(OpenHere(adv), 0u);
  CMS_SetProd(0);
}

TEST(AgentAdvConfigOpen, ServiceFailures_GiveTheirStatus) {
  const struct {
    DWORD Played::* step;
    DWORD code;
    unsigned long status;
  } rows[] = {
      {&Played::manager, 5, Adv::accessDenied},    {&Played::manager, 1722, Adv::notReachable},
      {&Played::service, 5, Adv::accessDenied},    {&Played::service, 123, Adv::notInstalled},
      {&Played::service, 1060, Adv::notInstalled}, {&Played::service, 1722, Adv::notReachable},
      {&Played::query, 5, Adv::notRunning}};
  const Machine machine(L"A 13.0=13");
  for (const auto& [step, code, status] : rows) {
    played = {};
    played.*step = code;
    Adv adv;
    EXPECT_EQ(OpenHere(adv), status) << code;
    EXPECT_EQ(adv.GetErrorCode(), code);
  }
}

TEST(AgentAdvConfigOpen, RealService_MustRun) {
  const Machine machine(L"A 13.0=13");
  played.serviceIsReal = true;
  Adv adv;
  std::optional<TestService> service(kService);
  if (!service->Usable()) GTEST_SKIP() << kNoService;
  EXPECT_EQ(OpenHere(adv), Adv::notRunning);
  EXPECT_EQ(adv.GetErrorCode(), Adv::notRunning);
  EXPECT_EQ(adv.EnableAdv(), 0u) << "its settings can be changed";
  service->Start();
  EXPECT_EQ(OpenHere(adv), 0u);
  EXPECT_EQ(adv.GetErrorCode(), Adv::notRunning) << "a success leaves it";
  service->Stop();
  EXPECT_EQ(OpenHere(adv), Adv::notRunning);
  service.reset();
  EXPECT_EQ(OpenHere(adv), Adv::notInstalled);
}

TEST(AgentAdvConfigOpen, ConnectionFailures_OfAccessAreToldApart) {
  const Machine machine(L"A 13.0=13");
  std::set<DWORD> refusals = {5, 86, 1219, 1244, 1385, 1793, 1807, 1808, 1809, 1907, 2202};
  for (DWORD code = 1323; code <= 1331; ++code) refusals.insert(code);
  Adv adv;
  for (played.connection = 1; played.connection < 2500; ++played.connection) {
    const DWORD code = played.connection;
    EXPECT_EQ(OpenThere(adv), refusals.contains(code) ? Adv::accessDenied : Adv::notReachable)
        << code;
    EXPECT_EQ(adv.GetErrorCode(), code);
  }
  EXPECT_EQ(seen.find(L";registry"), std::wstring::npos) << "nothing else is asked";
  EXPECT_EQ(seen.find(L"cancel"), std::wstring::npos) << "nothing was connected";
  played.connection = 0;
  played.registry = ERROR_BAD_NETPATH;
  EXPECT_EQ(OpenThere(adv), Adv::notInstalled);
  EXPECT_EQ(adv.GetErrorCode(), DWORD{ERROR_BAD_NETPATH});
}

TEST(AgentAdvConfigOpen, Server_IsFoundInItsName) {
  const Machine machine(L"A 13.0=13");
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
  const Machine machine(L"");
  const std::wstring cancelled = L"cancel \\\\SRV\\IPC$;";
  {
    Adv adv;
    EXPECT_EQ(OpenThere(adv), Adv::notInstalled);
    EXPECT_EQ(seen.find(L"cancel"), std::wstring::npos) << "a failed Open keeps it";
    seen.clear();
    Machine::Install(L"A 13.0=13");
    EXPECT_EQ(OpenThere(adv), 0u);
    EXPECT_TRUE(seen.starts_with(cancelled + L"connect")) << "the next Open closes first";
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
  EXPECT_EQ(OpenHere(adv), 0u);
  EXPECT_EQ(seen, cancelled) << "not tried again";
}

TEST(AgentAdvConfigOpen, WantOfMemory_IsTold) {
  const Machine machine(L"A 13.0=13");
  Adv adv;
  for (long n = 1;; ++n) {
    Allocations allocations;
    allocations.FailAt(n);
    const unsigned long status = adv.Open(L"a-long-server-name", nullptr, nullptr, kReadWrite);
    EXPECT_EQ(status, allocations.Failed() ? DWORD{ERROR_NOT_ENOUGH_MEMORY} : 0) << n;
    if (!allocations.Failed()) break;
    EXPECT_EQ(adv.GetErrorCode(), DWORD{ERROR_NOT_ENOUGH_MEMORY}) << n;
  }
}

}  // namespace
