#include "tools/vtctl/shared/key_path_text.h"

#include <iterator>

namespace vtctl {

using vtclass::WideUnit;
using vtclass::WideView;

namespace {

// The names of roots are ASCII, and nothing else is equal to them.
WideUnit Upper(WideUnit unit) {
  return unit >= 'a' && unit <= 'z' ? static_cast<WideUnit>(unit - 'a' + 'A') : unit;
}

bool EqualsIgnoringCase(WideView a, WideView b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (Upper(a[i]) != Upper(b[i])) return false;
  }
  return true;
}

// Cuts the part before the first backslash off `text`.
WideView TakePart(WideView& text) {
  const std::size_t end = text.find('\\');
  const WideView part = text.substr(0, end);
  text.remove_prefix(end == WideView::npos ? text.size() : end + 1);
  return part;
}

}  // namespace

std::optional<KeyPathText> SplitKeyPath(WideView text) {
  while (!text.empty() && text.back() == '\\') text.remove_suffix(1);
  WideView rest = text;
  WideView first = TakePart(rest);
  if (EqualsIgnoringCase(first, VTCLASS_WIDE("Computer")) && !rest.empty()) {
    text = rest;
    first = TakePart(rest);
  }
  KeyPathText path;
  bool rootNamed = false;
  for (std::size_t root = 0; root < std::size(kRootNames); ++root) {
    if (EqualsIgnoringCase(first, kRootNames[root].shortName) ||
        EqualsIgnoringCase(first, kRootNames[root].longName)) {
      path.root = root;
      rootNamed = true;
    }
  }
  if (!rootNamed && EqualsIgnoringCase(first.substr(0, 5), VTCLASS_WIDE("HKEY_"))) {
    return std::nullopt;
  }
  path.subkey = rootNamed ? rest : text;
  if (path.subkey.starts_with('\\') || path.subkey.find(VTCLASS_WIDE("\\\\")) != WideView::npos) {
    return std::nullopt;
  }
  return path;
}

}  // namespace vtctl
