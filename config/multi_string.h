#ifndef VTCLASS_CONFIG_MULTI_STRING_H
#define VTCLASS_CONFIG_MULTI_STRING_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/checked_cast.h"
#include "strings/wide_text.h"

namespace vtclass::config {

/*
 * Takes the next item of a stored list of texts: the run of units up to the next zero, or up to the
 * end where the last zero is missing. Empty runs are passed over, so a zero too many in the middle
 * does not end the list. `rest` is what is left to read, `item` a part of it. False at the end.
 */
bool NextItem(WideView& rest, WideView& item) noexcept;

/* Appends all items of a stored list to a sink for lists (vtclass/border.h). False, with nothing
 * appended, when the owner of the list has no memory. */
template <typename Sink>
bool AppendItems(WideView stored, const Sink& items) noexcept {
  for (WideView item; NextItem(stored, item);) {
    if (items.Append(item.data(), item.size())) continue;
    items.TakeBack();
    return false;
  }
  return true;
}

/*
 * The units that the registry stores for a list of texts: each item and a zero, then one more zero.
 * An empty list gives that one zero. Nothing is escaped: an empty item is a bare zero, and an item
 * that holds a zero comes back as two.
 */
template <typename Item>
WideText PackItems(const std::vector<Item>& items) {
  std::size_t total = 1;
  for (const Item& item : items) total += item.size() + 1;
  WideText packed;
  packed.reserve(total);
  for (const Item& item : items) packed.append(item).push_back(0);
  packed.push_back(0);
  return packed;
}

/* The size in bytes of `units` units of stored text, or nothing when the registry, whose sizes have
 * 32 bits, cannot hold so many. */
constexpr std::optional<std::uint32_t> StoredSize(std::size_t units) noexcept {
  if (units > SIZE_MAX / sizeof(WideUnit)) return std::nullopt;
  return platform::CheckedCast<std::uint32_t>(units * sizeof(WideUnit));
}

}  // namespace vtclass::config

#endif
