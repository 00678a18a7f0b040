#include "hive/name_rules.h"

#include <algorithm>

namespace vtclass::hive {
namespace {

WideUnit AsciiUpper(WideUnit unit) {
  return unit >= 'a' && unit <= 'z' ? static_cast<WideUnit>(unit - ('a' - 'A')) : unit;
}

}  // namespace

Order OrderOf(const StoredName& before, const StoredName& after) {
  const std::size_t common = std::min(before.Length(), after.Length());
  for (std::size_t at = 0; at < common; ++at) {
    if (before[at] == after[at]) continue;
    const WideUnit a = AsciiUpper(before[at]), b = AsciiUpper(after[at]);
    if (a >= 0x80 || b >= 0x80) return Order::unknown;
    if (a != b) return a < b ? Order::ascending : Order::descending;
  }
  if (before.Length() == after.Length()) return Order::same;
  return before.Length() < after.Length() ? Order::ascending : Order::descending;
}

bool ComesBefore(const StoredName& before, const StoredName& after) {
  const std::size_t common = std::min(before.Length(), after.Length());
  for (std::size_t at = 0; at < common; ++at) {
    const WideUnit a = AsciiUpper(before[at]), b = AsciiUpper(after[at]);
    if (a != b) return a < b;
  }
  return before.Length() < after.Length();
}

bool FitsHint(const StoredName& name, Bytes hint) {
  for (std::size_t at = 0; at < hint.size(); ++at) {
    const WideUnit unit = at < name.Length() ? name[at] : WideUnit{0};
    if (unit >= 0x80) return true;
    if (AsciiUpper(unit) != AsciiUpper(hint[at])) return false;
  }
  return true;
}

std::optional<std::uint32_t> HashOf(const StoredName& name) {
  std::uint32_t hash = 0;
  for (std::size_t at = 0; at < name.Length(); ++at) {
    const WideUnit unit = AsciiUpper(name[at]);
    if (unit >= 0x80) return std::nullopt;
    hash = hash * 37 + unit;
  }
  return hash;
}

}  // namespace vtclass::hive
