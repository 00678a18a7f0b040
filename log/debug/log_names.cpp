#include "log/debug/log_names.h"

#include <algorithm>

#include "strings/decimal.h"

namespace vtclass::log {

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
  return name.append(strings::Decimal(number).View()).append(extension);
}

WideText RotatedName(WideView liveFile, WideView extension, std::uint32_t number) {
  WideText name(liveFile);
  return name.append(extension).append(strings::Decimal(number).View());
}

bool IsRotationExtension(WideView extension) {
  return std::ranges::all_of(extension, [](WideUnit unit) {
    return unit >= ' ' && WideView(VTCLASS_WIDE("\\/:*?\"<>|")).find(unit) == WideView::npos;
  });
}

}  // namespace vtclass::log
