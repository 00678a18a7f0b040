#include "companions/vtcluster/name_match.h"

#include <vtclass/win32.h>

#include <algorithm>

#include "companions/vtcluster/cluster_api.h"

namespace vtcluster {
namespace {

// Empty where the system has no such name.
std::wstring NameOfThisMachine(COMPUTER_NAME_FORMAT format) {
  std::wstring name;
  ReadText(name, [format](wchar_t* buffer, DWORD* size) {
    return ::GetComputerNameExW(format, buffer, size) ? ERROR_SUCCESS : ::GetLastError();
  });
  return name;
}

std::wstring DomainOfThisMachine() { return NameOfThisMachine(ComputerNameDnsDomain); }

}  // namespace

bool BeginsWith(std::wstring_view text, std::wstring_view start) noexcept {
  return IsSameName(text.substr(0, start.size()), start);
}

std::wstring WithoutBackslashes(const wchar_t* name) {
  if (!name) return {};
  while (*name == L'\\') ++name;
  return name;
}

bool NamesHost(std::wstring_view name, std::wstring_view host) {
  return NamesHost(name, host, &IsSameName, &DomainOfThisMachine);
}

bool NamesThisNode(std::wstring_view name) {
  constexpr COMPUTER_NAME_FORMAT kOwn[] = {ComputerNamePhysicalNetBIOS,
                                           ComputerNamePhysicalDnsHostname,
                                           ComputerNamePhysicalDnsFullyQualified};
  if (name.empty()) return false;
  return std::ranges::any_of(kOwn, [name](COMPUTER_NAME_FORMAT format) {
    return IsSameName(name, NameOfThisMachine(format));
  });
}

}  // namespace vtcluster
