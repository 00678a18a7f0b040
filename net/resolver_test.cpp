#include "net/resolver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/import_hook.h"

/* This program holds the file under test itself, so that its imports are this program's. */
namespace {

using vtclass::test::ImportHook;

// The libraries that load, and the functions that they have.
std::vector<std::wstring> present;
std::vector<std::string> functions;
std::vector<std::wstring> loaded;
int freed;

HMODULE WINAPI Load(LPCWSTR path) {
  const std::wstring name = wcsrchr(path, L'\\') + 1;
  wchar_t system[MAX_PATH] = L"";
  ::GetSystemDirectoryW(system, MAX_PATH);
  EXPECT_EQ(path, system + (L"\\" + name));
  loaded.push_back(name);
  if (std::find(present.begin(), present.end(), name) == present.end()) return nullptr;
  return ::GetModuleHandleW(nullptr);
}

int WSAAPI Found(const sockaddr*, socklen_t, char*, DWORD, char*, DWORD, int) { return 4711; }

FARPROC WINAPI LookUp(HMODULE, LPCSTR name) {
  const bool isThere = std::find(functions.begin(), functions.end(), name) != functions.end();
  return isThere ? std::bit_cast<FARPROC>(&Found) : nullptr;
}

BOOL WINAPI Free(HMODULE) {
  ++freed;
  return TRUE;
}

TEST(Resolver, LibrariesAndFunctions_InTheirOrder) {
  const std::vector<std::string> all = {"getaddrinfo", "getnameinfo", "freeaddrinfo"};
  const struct {
    std::vector<std::wstring> present;
    std::vector<std::string> functions;
    std::vector<std::wstring> loaded;
    bool isBound;
    int freed;
  } rows[] = {{{L"ws2_32", L"wship6"}, all, {L"ws2_32"}, true, 0},
              {{L"wship6"}, all, {L"ws2_32", L"wship6"}, true, 0},
              {{}, all, {L"ws2_32", L"wship6"}, false, 0},
              {{L"ws2_32", L"wship6"}, {"getnameinfo"}, {L"ws2_32", L"wship6"}, false, 2},
              {{L"ws2_32", L"wship6"}, {"getaddrinfo", "getnameinfo"}, {L"ws2_32"}, false, 0},
              {{L"ws2_32", L"wship6"}, {"getaddrinfo", "freeaddrinfo"}, {L"ws2_32"}, false, 0}};
  const HMODULE self = ::GetModuleHandleW(nullptr);
  for (const auto& row : rows) {
    const ImportHook<decltype(::LoadLibraryW)> load("KERNEL32.dll", "LoadLibraryW", &Load, self);
    const ImportHook<decltype(::GetProcAddress)> lookUp("KERNEL32.dll", "GetProcAddress", &LookUp,
                                                        self);
    const ImportHook<decltype(::FreeLibrary)> free("KERNEL32.dll", "FreeLibrary", &Free, self);
    present = row.present;
    functions = row.functions;
    loaded.clear();
    freed = 0;
    const auto resolver = vtclass::net::LoadResolver();
    EXPECT_EQ(loaded, row.loaded);
    EXPECT_EQ(resolver.nameInfo == &Found, row.isBound);
    EXPECT_EQ(freed, row.freed);
  }
}

// Without the functions the system answers as one that knows IPv4 only.
TEST(Resolver, OldSystem_KnowsIPv4Only) {
  VTSocket::VTDnsResolver::GetHostByName("..localmachine");  // Winsock is in use
  vtclass::net::ResolverFunctions old = {};
  {
    const ImportHook<decltype(::LoadLibraryW)> load("KERNEL32.dll", "LoadLibraryW", &Load,
                                                    ::GetModuleHandleW(nullptr));
    present.clear();
    old = vtclass::net::LoadResolver();
  }
  const struct {
    const wchar_t* address;
    DWORD room;
    int result;
  } rows[] = {{L"127.0.0.1", NI_MAXHOST, 0},
              {L"127.0.0.1", 1, WSAEFAULT},
              {L"::1", NI_MAXHOST, WSAEAFNOSUPPORT}};
  for (const auto& row : rows) {
    sockaddr_storage address = {};
    VTSocket::VTIPAddress::CreateIPAddress(row.address)->GetSocketAddress(address, 0);
    char host[NI_MAXHOST] = "";
    EXPECT_EQ(old.nameInfo(reinterpret_cast<const sockaddr*>(&address), sizeof(address), host,
                           row.room, nullptr, 0, NI_NAMEREQD),
              row.result);
    EXPECT_EQ(host[0] != '\0', row.result == 0);
  }
}

}  // namespace
