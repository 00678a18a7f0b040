#include "net/resolver.h"

#include <gtest/gtest.h>

#include <bit>
#include <string>

#include "tests/support/import_hook.h"

// This program holds the file under test itself, so that its imports are this program's.
namespace {

using vtclass::test::Replace;

int WSAAPI Found(const sockaddr*, socklen_t, char*, DWORD, char*, DWORD, int) { return 4711; }

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
  // The libraries that load and the functions that they have, and which were tried.
  std::string present, loaded;
  const HMODULE self = ::GetModuleHandleW(nullptr);
  const auto load = Replace<decltype(::LoadLibraryW)>(
      "LoadLibraryW",
      [&](LPCWSTR path) {
        const std::wstring name = wcsrchr(path, L'\\');
        wchar_t system[MAX_PATH] = L"";
        ::GetSystemDirectoryW(system, MAX_PATH);
        EXPECT_EQ(path, system + name);
        const std::string word(name.begin() + 1, name.end());
        loaded += word + " ";
        return present.find(word) == std::string::npos ? nullptr : ::GetModuleHandleW(nullptr);
      },
      self);
  const auto lookUp = Replace<decltype(::GetProcAddress)>(
      "GetProcAddress",
      [&](auto, LPCSTR name) {
        return present.find(name) == std::string::npos ? nullptr : std::bit_cast<FARPROC>(&Found);
      },
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
