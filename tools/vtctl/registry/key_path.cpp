#include "tools/vtctl/registry/key_path.h"

#include <cwctype>

namespace vtctl {
namespace {

struct Root {
  std::wstring_view shortName;
  std::wstring_view longName;
  HKEY key;
};

const Root kRoots[] = {
    {L"HKLM", L"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE},
    {L"HKCU", L"HKEY_CURRENT_USER", HKEY_CURRENT_USER},
    {L"HKCR", L"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT},
    {L"HKU", L"HKEY_USERS", HKEY_USERS},
    {L"HKCC", L"HKEY_CURRENT_CONFIG", HKEY_CURRENT_CONFIG},
};

bool EqualsIgnoringCase(std::wstring_view a, std::wstring_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::towupper(a[i]) != std::towupper(b[i])) return false;
  }
  return true;
}

/* Cuts the part before the first backslash off `text`. */
std::wstring_view TakePart(std::wstring_view& text) {
  const size_t end = text.find(L'\\');
  const std::wstring_view part = text.substr(0, end);
  text.remove_prefix(end == std::wstring_view::npos ? text.size() : end + 1);
  return part;
}

}  // namespace

std::optional<KeyPath> ParseKeyPath(std::wstring_view text) {
  while (!text.empty() && text.back() == L'\\') text.remove_suffix(1);
  std::wstring_view rest = text;
  std::wstring_view first = TakePart(rest);
  if (EqualsIgnoringCase(first, L"Computer") && !rest.empty()) {
    text = rest;
    first = TakePart(rest);
  }
  KeyPath path;
  bool rootNamed = false;
  for (const Root& root : kRoots) {
    if (EqualsIgnoringCase(first, root.shortName) || EqualsIgnoringCase(first, root.longName)) {
      path.root = root.key;
      rootNamed = true;
    }
  }
  if (!rootNamed && EqualsIgnoringCase(first.substr(0, 5), L"HKEY_")) return std::nullopt;
  path.subkey = rootNamed ? rest : text;
  if (path.subkey.starts_with(L'\\') || path.subkey.find(L"\\\\") != std::wstring::npos) {
    return std::nullopt;
  }
  return path;
}

std::wstring KeyName(const KeyPath& path) {
  std::wstring name;
  for (const Root& root : kRoots) {
    if (root.key == path.root) name = root.longName;
  }
  return path.subkey.empty() ? name : name + L"\\" + path.subkey;
}

}  // namespace vtctl
