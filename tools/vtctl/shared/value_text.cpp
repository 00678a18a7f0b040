#include "tools/vtctl/shared/value_text.h"

#include <algorithm>
#include <cstring>

namespace vtctl {

using vtclass::WideText;
using vtclass::WideUnit;
using vtclass::WideView;

namespace {

int DigitValue(WideUnit digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

WideText Units(std::span<const unsigned char> bytes) {
  WideText units(bytes.size() / sizeof(WideUnit), 0);
  if (!units.empty()) std::memcpy(units.data(), bytes.data(), units.size() * sizeof(WideUnit));
  return units;
}

}  // namespace

std::optional<std::uint32_t> ParseNumber(WideView text) {
  unsigned base = 10;
  if (text.starts_with(VTCLASS_WIDE("0x")) || text.starts_with(VTCLASS_WIDE("0X"))) {
    base = 16;
    text.remove_prefix(2);
  }
  if (text.empty()) return std::nullopt;
  std::uint64_t number = 0;
  for (const WideUnit digit : text) {
    const int value = DigitValue(digit);
    if (value < 0 || static_cast<unsigned>(value) >= base) return std::nullopt;
    number = number * base + static_cast<unsigned>(value);
    if (number > UINT32_MAX) return std::nullopt;
  }
  return static_cast<std::uint32_t>(number);
}

std::optional<std::vector<unsigned char>> ParseHex(WideView text) {
  std::vector<unsigned char> bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (WideView(VTCLASS_WIDE(" ,:-")).find(text[i]) != WideView::npos) continue;
    const int high = DigitValue(text[i]);
    const int low = i + 1 < text.size() ? DigitValue(text[i + 1]) : -1;
    if (high < 0 || low < 0) return std::nullopt;
    bytes.push_back(static_cast<unsigned char>(high * 16 + low));
    ++i;
  }
  return bytes;
}

WideText TextIn(std::span<const unsigned char> bytes) {
  const WideText units = Units(bytes);
  return units.substr(0, units.find(WideUnit{0}));
}

std::vector<WideText> ItemsIn(std::span<const unsigned char> bytes) {
  std::vector<WideText> items;
  const WideText units = Units(bytes);
  for (std::size_t start = 0; start < units.size();) {
    const std::size_t end = std::min(units.find(WideUnit{0}, start), units.size());
    if (end > start) items.push_back(units.substr(start, end - start));
    start = end + 1;
  }
  return items;
}

}  // namespace vtctl
