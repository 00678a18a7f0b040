#include <vtclass/win32.h>

#include <accctrl.h>
#include <aclapi.h>
#include <benchmark/benchmark.h>
#include <vtclass/security.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

// Who a thread acts as, privileges, and taking a tree over, beside the bare calls.
namespace {

void OursWhoAmI(benchmark::State& state) {
  for (auto _ : state) {
    wcstring domain, user;
    Impersonator::WhoAmI(domain, user);
    benchmark::DoNotOptimize(user.data());
  }
}

void CallsWhoAmI(benchmark::State& state) {
  for (auto _ : state) {
    HANDLE token = nullptr;
    if (!::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, FALSE, &token)) {
      ::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token);
    }
    alignas(8) BYTE data[200];
    DWORD size = 0;
    ::GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    ::GetTokenInformation(token, TokenUser, data, sizeof(data), &size);
    const PSID sid = reinterpret_cast<const TOKEN_USER*>(data)->User.Sid;
    wchar_t user[300], domain[300];
    DWORD userRoom = 0, domainRoom = 0;
    SID_NAME_USE use = SidTypeUnknown;
    ::LookupAccountSidW(nullptr, sid, nullptr, &userRoom, nullptr, &domainRoom, &use);
    userRoom = domainRoom = 300;
    ::LookupAccountSidW(nullptr, sid, user, &userRoom, domain, &domainRoom, &use);
    ::CloseHandle(token);
    std::wstring domainText(domain, domainRoom), userText(user, userRoom);
    benchmark::DoNotOptimize(domainText.data());
    benchmark::DoNotOptimize(userText.data());
  }
}

// Every account holds this one.
constexpr wchar_t kPrivilege[] = L"SeChangeNotifyPrivilege";

void OursPrivilege(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(AssertPrivilege(kPrivilege, FALSE));
}

void CallsPrivilege(benchmark::State& state) {
  for (auto _ : state) {
    HANDLE token = nullptr;
    if (!::OpenThreadToken(::GetCurrentThread(), MAXIMUM_ALLOWED, FALSE, &token)) {
      ::OpenProcessToken(::GetCurrentProcess(), MAXIMUM_ALLOWED, &token);
    }
    TOKEN_PRIVILEGES change = {1, {{{}, SE_PRIVILEGE_ENABLED}}};
    ::LookupPrivilegeValueW(nullptr, kPrivilege, &change.Privileges[0].Luid);
    ::AdjustTokenPrivileges(token, FALSE, &change, 0, nullptr, nullptr);
    ::CloseHandle(token);
  }
}

// 20 folders with 49 files each.
class Tree {
 public:
  Tree() : path(std::filesystem::temp_directory_path() / L"vtclass-benchmark-tree") {
    for (int folder = 0; folder < 20; ++folder) {
      const auto below = path / std::to_wstring(folder);
      std::filesystem::create_directories(below);
      for (int file = 0; file < 49; ++file) std::ofstream(below / std::to_wstring(file));
    }
  }
  ~Tree() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  const std::filesystem::path path;
};

void OursTree(benchmark::State& state) {
  const Tree tree;
  AssertPrivilege(L"SeTakeOwnershipPrivilege", FALSE);
  AssertPrivilege(L"SeRestorePrivilege", FALSE);
  for (auto _ : state) {
    if (TakeFolderOwnership(tree.path.c_str()) == 0) state.SkipWithError("may not take ownership");
  }
}

void TakeBare(const std::wstring& path, PSID administrators, PSID localSystem) {
  auto* const name = const_cast<wchar_t*>(path.c_str());
  ::SetNamedSecurityInfoW(name, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, administrators, nullptr,
                          nullptr, nullptr);
  PACL list = nullptr, changed = nullptr;
  PSECURITY_DESCRIPTOR holder = nullptr;
  ::GetNamedSecurityInfoW(name, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &list,
                          nullptr, &holder);
  wchar_t account[] = L"system";
  EXPLICIT_ACCESS_W entry = {FILE_ALL_ACCESS, SET_ACCESS, NO_INHERITANCE, {}};
  entry.Trustee.TrusteeForm = TRUSTEE_IS_NAME;
  entry.Trustee.ptstrName = account;
  ::SetEntriesInAclW(1, &entry, list, &changed);
  ::SetNamedSecurityInfoW(name, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                          changed, nullptr);
  ::SetNamedSecurityInfoW(name, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, localSystem, nullptr,
                          nullptr, nullptr);
  ::LocalFree(holder);
  ::LocalFree(changed);
}

void TakeTreeBare(const std::wstring& path, PSID administrators, PSID localSystem) {
  TakeBare(path, administrators, localSystem);
  WIN32_FIND_DATAW entry;
  const HANDLE search = ::FindFirstFileW((path + L"\\*").c_str(), &entry);
  do {
    if (entry.cFileName[0] == L'.') continue;
    const std::wstring below = path + L"\\" + entry.cFileName;
    if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
      TakeTreeBare(below, administrators, localSystem);
    } else {
      TakeBare(below, administrators, localSystem);
    }
  } while (::FindNextFileW(search, &entry));
  ::FindClose(search);
}

void CallsTree(benchmark::State& state) {
  const Tree tree;
  using Sid = std::array<BYTE, SECURITY_MAX_SID_SIZE>;
  Sid administrators, localSystem;
  DWORD size = SECURITY_MAX_SID_SIZE;
  ::CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, administrators.data(), &size);
  size = SECURITY_MAX_SID_SIZE;
  ::CreateWellKnownSid(WinLocalSystemSid, nullptr, localSystem.data(), &size);
  for (auto _ : state) {
    TakeTreeBare(L"\\\\?\\" + tree.path.wstring(), administrators.data(), localSystem.data());
  }
}

BENCHMARK(OursWhoAmI)->Name("Security/WhoAmI/ours");
BENCHMARK(CallsWhoAmI)->Name("Security/WhoAmI/limit_calls");
BENCHMARK(OursPrivilege)->Name("Security/Privilege/ours");
BENCHMARK(CallsPrivilege)->Name("Security/Privilege/limit_calls");
BENCHMARK(OursTree)->Name("Security/Tree1000/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(CallsTree)->Name("Security/Tree1000/limit_calls")->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
