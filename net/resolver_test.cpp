#include "net/resolver.h"

#include <gtest/gtest.h>

#include <bit>
#include <string>

#include "tests/support/import_hook.h"

// This program holds the file under test itself, so that its imports are this program's.
namespace {

using vtclass::test::ImportHook;

// The libraries that load and the functions that they have, and which were tried.
std::string present, loaded;

HMODULE WINAPI Load(LPCWSTR path) {
  const std::wstring name = wcsrchr(path, L'\\');
  wchar_t system[MAX_PATH] = L"";
  ::GetSystemDirectoryW(system, MAX_PATH);
  EXPECT_EQ(path, system + name);
  const std::string word(name.begin() + 1, name.end());
  loaded += word + " ";
  return present.find(word) == std::string::npos ? nullptr : ::GetModuleHandleW(nullptr);
}

int WSAAPI Found(const sockaddr*, socklen_t, char*, DWORD, char*, DWORD, int) { return 4711; }

FARPROC WINAPI LookUp(HMODULE, LPCSTR name) {
  return present.find(name) == std::string::npos ? nullptr : std::bit_cast<FARPROC>(&Found);
}

TEST(Resolver, LibrariesAndFunctions_InTheirOrder) {
  const struct {
    const char* present;
    const char* loaded;
    bool isBound;
  } rows[] = {{"ws2_32 wship6 getaddrinfo getnameinfo freeaddrinfo", "ws2_32 ", true},
              {"wship6 getaddrinfo getnameinfo freeaddrinfo", "ws2_32 wship6 ", true},
              {"getaddrinfo getnameinfo freeaddrinfo", "ws2_32 wship6 ", false},
              {"ws2_32 wship6 getnameinfo freeaddrinfo", "ws2_32 wship6 ", false},
              {"ws2_32 wship6 getaddrinfo getnameinfo", "ws2_32 ", false},
              {"ws2_32 wship6 getaddrinfo freeaddrinfo", "ws2_32 ", false}};
  const HMODULE self = ::GetModuleHandleW(nullptr);
  const ImportHook<decltype(::LoadLibraryW)> load("KERNEL32.dll", "LoadLibraryW", &Load, self);
  const ImportHook<decltype(::GetProcAddress)> lookUp("KERNEL32.dll", "GetProcAddress", &LookUp,
                                                      self);
  sockaddr_storage address = {};
  address.ss_family = AF_INET6;
  for (const auto& row : rows) {
    present = row.present;
    loaded.clear();
    const auto nameInfo = vtclass::net::LoadResolver().nameInfo;
    // Without the functions the system answers as one that knows IPv4 only.
    EXPECT_EQ(nameInfo(reinterpret_cast<sockaddr*>(&address), sizeof(address), nullptr, 0, nullptr,
                       0, NI_NAMEREQD),
              row.isBound ? 4711 : WSAEAFNOSUPPORT);
    EXPECT_EQ(loaded, row.loaded);
  }
}

}  // namespace
