#include "config/multi_string.h"

#include "strings/unit_scan.h"

namespace vtclass::config {

bool NextItem(WideView& rest, WideView& item) noexcept {
  const strings::ScanFunction zero = strings::BestScan().zero;
  while (!rest.empty()) {
    item = rest.substr(0, zero(rest.data(), rest.size()));
    // The zero behind the item goes with it; the last item may lack it.
    rest.remove_prefix(item.size() < rest.size() ? item.size() + 1 : item.size());
    if (!item.empty()) return true;
  }
  return false;
}

}  // namespace vtclass::config
