#include "config/multi_string.h"

namespace vtclass::config {

bool NextItem(WideView& rest, WideView& item) noexcept {
  while (!rest.empty()) {
    item = rest.substr(0, rest.find(WideUnit{0}));
    // The zero behind the item goes with it; the last item may lack it.
    rest.remove_prefix(item.size() < rest.size() ? item.size() + 1 : item.size());
    if (!item.empty()) return true;
  }
  return false;
}

}  // namespace vtclass::config
