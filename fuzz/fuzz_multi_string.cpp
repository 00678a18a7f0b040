#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "config/multi_string.h"

using vtclass::WideText;
using vtclass::WideUnit;
using vtclass::WideView;

// Any data of a value: every item lies inside it, and what was unpacked and packed again unpacks to
// the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // In a block of exactly its size, so that a step outside it is seen.
  const std::size_t units = size / sizeof(WideUnit);
  const std::unique_ptr<WideUnit[]> stored(new WideUnit[units]);
  if (units != 0) std::memcpy(stored.get(), data, units * sizeof(WideUnit));

  const auto unpack = [](WideView packed) {
    std::vector<WideText> items;
    for (WideView item; vtclass::config::NextItem(packed, item);) items.emplace_back(item);
    return items;
  };
  const std::vector<WideText> items = unpack({stored.get(), units});
  std::size_t kept = 0;
  std::size_t nonZero = 0;
  for (const WideText& item : items) {
    if (item.empty() || item.find(WideUnit{0}) != WideText::npos) std::abort();
    kept += item.size();
  }
  for (std::size_t i = 0; i < units; ++i) nonZero += stored[i] != 0;
  if (kept != nonZero) std::abort();
  if (unpack(vtclass::config::PackItems(items)) != items) std::abort();
  return 0;
}
