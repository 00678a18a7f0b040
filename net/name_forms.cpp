#include "net/name_forms.h"

#include <algorithm>
#include <cstddef>

namespace vtclass::net {

namespace {

constexpr WideUnit kBackslash = '\\';
constexpr std::size_t kNetBiosChars = 15;
// The shortest text that is taken for a UNC path, such as \\a\b.
constexpr std::size_t kShortestUnc = 5;

bool IsDigit(WideUnit unit) noexcept { return unit >= '0' && unit <= '9'; }

bool IsRac(WideView text) noexcept {
  return text.size() == 3 && (text[0] | 0x20) == 'r' && (text[1] | 0x20) == 'a' &&
         (text[2] | 0x20) == 'c';
}

}  // namespace

WideView ServerIn(WideView name) noexcept {
  const std::size_t begin = name.find_first_not_of(kBackslash);
  if (begin == WideView::npos) return {};
  name.remove_prefix(begin);
  return name.substr(0, name.find(kBackslash));
}

WideText NetBiosForm(WideView name, bool (*isGraphic)(WideUnit)) {
  constexpr WideView kDropped = VTCLASS_WIDE("\\/:*?\"<>|");
  WideText form;
  for (const WideUnit unit : FirstLabel(name)) {
    if (form.size() == kNetBiosChars) break;
    if (kDropped.find(unit) == WideView::npos && isGraphic(unit)) form += unit;
  }
  return form;
}

WideView FirstLabel(WideView name) noexcept { return name.substr(0, name.find(WideUnit('.'))); }

WideText WithDomainOf(WideView name, WideView fullName) {
  WideText result(name);
  if (name.find(WideUnit('.')) == WideView::npos) {
    result += fullName.substr(FirstLabel(fullName).size());
  }
  return result;
}

WideText Replaced(WideView text, WideView what, WideView with) {
  if (what.empty()) return WideText(text);
  WideText result;
  std::size_t from = 0;
  for (std::size_t at; (at = text.find(what, from)) != WideView::npos; from = at + what.size()) {
    result.append(text, from, at - from);
    result += with;
  }
  result.append(text, from);
  return result;
}

bool HasRacShape(WideView name) noexcept {
  const std::size_t last = name.rfind(WideUnit('-'));
  if (last == WideView::npos || name.find(WideUnit('-')) == last || !IsRac(name.substr(0, 3))) {
    return false;
  }
  return std::ranges::all_of(name.substr(last + 1), IsDigit);
}

bool SplitUnc(WideView path, UncParts& parts) noexcept {
  if (path.size() < kShortestUnc || path[0] != kBackslash || path[1] != kBackslash) return false;
  const std::size_t end = path.find(kBackslash, 2);
  if (end == WideView::npos) return false;
  const WideView tail = path.substr(end + 1);
  parts = {path.substr(0, end), tail.substr(0, tail.find(kBackslash))};
  return true;
}

}  // namespace vtclass::net
