#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "tools/vtctl/shared/key_path_text.h"
#include "tools/vtctl/shared/value_text.h"

using namespace vtctl;
using vtclass::WideText;
using vtclass::WideUnit;
using vtclass::WideView;
using vtclass::fuzz::Check;

static WideText Digits(std::uint64_t number, unsigned base) {
  WideText text;
  do {
    text.insert(text.begin(), static_cast<WideUnit>("0123456789abcdef"[number % base]));
    number /= base;
  } while (number != 0);
  return text;
}

// The full name of a key is read as the same key.
static void CheckKeyPath(WideView text) {
  const auto path = SplitKeyPath(text);
  if (!path) return;
  const WideView subkey = path->subkey;
  Check(!subkey.starts_with('\\') && !subkey.ends_with('\\'));
  Check(subkey.find(VTCLASS_WIDE("\\\\")) == WideView::npos);
  for (const WideView root : {kRootNames[path->root].longName, kRootNames[path->root].shortName}) {
    WideText name = VTCLASS_WIDE("computer\\");
    name.append(root).append(1, '\\').append(subkey);
    const auto again = SplitKeyPath(name);
    Check(again && again->root == path->root && again->subkey == subkey);
  }
}

// A number is read back from its decimal and its hexadecimal form; what is no number has none.
static void CheckNumber(WideView text) {
  const auto number = ParseNumber(text);
  if (!number) return;
  WideText hex = VTCLASS_WIDE("0x");
  Check(ParseNumber(Digits(*number, 10)) == number);
  Check(ParseNumber(hex += Digits(*number, 16)) == number);
  Check(!ParseNumber(hex += VTCLASS_WIDE("00000000")) || *number == 0);
}

static void CheckHex(WideView text) {
  const auto bytes = ParseHex(text);
  std::size_t digits = 0;
  for (const WideUnit unit : text) {
    digits += WideView(VTCLASS_WIDE(" ,:-")).find(unit) == WideView::npos;
  }
  if (!bytes) return;
  Check(bytes->size() * 2 == digits);
  WideText again;
  for (const unsigned char byte : *bytes) {
    again += Digits(byte / 16u, 16) + Digits(byte % 16u, 16) + WideText(1, '-');
  }
  Check(ParseHex(again) == bytes);
}

// The items are all there is between the zeros.
static void CheckItems(std::span<const unsigned char> bytes, WideView units) {
  const WideText first = TextIn(bytes);
  Check(first == units.substr(0, units.find(WideUnit{0})));
  WideText left;
  for (const WideUnit unit : units) {
    if (unit != 0) left += unit;
  }
  WideText joined;
  for (const WideText& item : ItemsIn(bytes)) {
    Check(!item.empty() && item.find(WideUnit{0}) == WideText::npos);
    joined += item;
  }
  Check(joined == left);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vtclass::fuzz::Input input(data, size);
  const WideView text = input.Text();
  CheckKeyPath(text);
  CheckNumber(text);
  CheckHex(text);
  CheckItems({data, size}, text);
  return 0;
}
