#include "companions/vtcluster/name_match.h"

#include <vtclass/win32.h>

#include <ws2tcpip.h>

#include <algorithm>
#include <cstring>

#include "companions/vtcluster/cluster_api.h"
#include "platform/checked_cast.h"

namespace vtcluster {
namespace {

/* Empty where the system has no such name. */
std::wstring NameOfThisMachine(COMPUTER_NAME_FORMAT format) {
  std::wstring name;
  ReadText(name, [format](wchar_t* buffer, DWORD* size) {
    return ::GetComputerNameExW(format, buffer, size) ? ERROR_SUCCESS : ::GetLastError();
  });
  return name;
}

/* An address in the bytes of its family, 0 for a text that is none. */
struct Address {
  explicit Address(const std::wstring& text) noexcept {
    const std::wstring_view whole = text;
    wchar_t plain[INET6_ADDRSTRLEN] = {};
    const size_t length = whole.substr(0, whole.find(L'%')).copy(plain, INET6_ADDRSTRLEN - 1);
    if (length == INET6_ADDRSTRLEN - 1) return;
    if (::InetPtonW(AF_INET, plain, bytes) == 1) family = AF_INET;
    if (family == 0 && ::InetPtonW(AF_INET6, plain, bytes) == 1) family = AF_INET6;
  }

  int family = 0;
  unsigned char bytes[16] = {};
};

}  // namespace

bool SameText(std::wstring_view a, std::wstring_view b) noexcept {
  const auto size = vtclass::platform::CheckedCast<int>(a.size());
  if (!size || a.size() != b.size()) return false;
  // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): the sizes go with the texts
  return *size == 0 || ::CompareStringOrdinal(a.data(), *size, b.data(), *size, TRUE) == CSTR_EQUAL;
}

bool BeginsWith(std::wstring_view text, std::wstring_view start) noexcept {
  return SameText(text.substr(0, start.size()), start);
}

std::wstring WithoutBackslashes(const wchar_t* name) {
  if (!name) return {};
  while (*name == L'\\') ++name;
  return name;
}

std::wstring_view HostPart(std::wstring_view name) noexcept {
  return name.substr(0, name.find(L'.'));
}

bool NamesHost(std::wstring_view name, std::wstring_view host) {
  if (host.empty()) return false;
  if (SameText(name, host)) return true;
  const std::wstring_view first = HostPart(name);
  return first.size() + 1 < name.size() && SameText(first, host) &&
         SameText(name.substr(first.size() + 1), NameOfThisMachine(ComputerNameDnsDomain));
}

bool NamesThisNode(std::wstring_view name) {
  constexpr COMPUTER_NAME_FORMAT kOwn[] = {ComputerNamePhysicalNetBIOS,
                                           ComputerNamePhysicalDnsHostname,
                                           ComputerNamePhysicalDnsFullyQualified};
  if (name.empty()) return false;
  return std::ranges::any_of(kOwn, [name](COMPUTER_NAME_FORMAT format) {
    return SameText(name, NameOfThisMachine(format));
  });
}

bool IsAddress(const std::wstring& text) noexcept { return Address(text).family != 0; }

bool SameAddress(const std::wstring& a, const std::wstring& b) noexcept {
  const Address first(a);
  const Address second(b);
  return first.family != 0 && first.family == second.family &&
         std::memcmp(first.bytes, second.bytes, sizeof first.bytes) == 0;
}

}  // namespace vtcluster
