#include "log/debug/log_names.h"

#include <algorithm>
#include <iterator>

namespace vtclass::log {

namespace {

void AppendNumber(WideText& text, std::uint32_t number) {
  WideUnit digits[10];
  WideUnit* first = std::end(digits);
  do {
    *--first = static_cast<WideUnit>('0' + number % 10);
    number /= 10;
  } while (number != 0);
  text.append(first, std::end(digits));
}

}  // namespace

SplitName SplitAtExtension(WideView path) {
  const std::size_t separator = path.find_last_of(VTCLASS_WIDE("\\/:"));
  const std::size_t name = separator == WideView::npos ? 0 : separator + 1;
  const std::size_t dot = path.rfind('.');
  if (dot == WideView::npos || dot < name) return {WideText(path), {}};
  return {WideText(path.substr(0, dot)), WideText(path.substr(dot))};
}

WideText RolledName(WideView base, std::uint32_t number, WideView extension) {
  WideText name(base);
  name += '-';
  AppendNumber(name, number);
  return name.append(extension);
}

WideText RotatedName(WideView liveFile, WideView extension, std::uint32_t number) {
  WideText name(liveFile);
  name.append(extension);
  AppendNumber(name, number);
  return name;
}

bool IsRotationExtension(WideView extension) {
  return std::ranges::all_of(extension, [](WideUnit unit) {
    return unit >= ' ' && WideView(VTCLASS_WIDE("\\/:*?\"<>|")).find(unit) == WideView::npos;
  });
}

}  // namespace vtclass::log
