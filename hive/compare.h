#ifndef VTCLASS_HIVE_COMPARE_H
#define VTCLASS_HIVE_COMPARE_H

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "hive/stored_data.h"
#include "strings/wide_text.h"

namespace vtclass::hive {

struct NamedValue {
  WideText name; /* empty for the key's default value */
  std::uint32_t type = 0;
  StoredData data;
};

/* One key, as a hive or as the registry has it. */
struct KeyContents {
  std::vector<NamedValue> values;
  std::vector<WideText> subkeys;
};

/* What two keys of the same name hold in different ways. */
struct KeyDifferences {
  /* Places in the values and subkeys of the one key that the other key has not. */
  std::vector<std::size_t> valuesOnlyInFirst, valuesOnlyInSecond;
  std::vector<std::size_t> subkeysOnlyInFirst, subkeysOnlyInSecond;
  /* Values that both have with another type or other data: their places in both. */
  std::vector<std::pair<std::size_t, std::size_t>> unlikeValues;
  /* Subkeys that both have, to be compared next: their places in both. */
  std::vector<std::pair<std::size_t, std::size_t>> commonSubkeys;
};

/* A character as it counts in names, which are the same whatever their case. */
using FoldCase = WideUnit (*)(WideUnit);

/* Compares names without regard to their case and to the order in which they come; each part of the
 * answer stands in the order of the folded names. A name that comes twice on one side has one
 * partner at most. */
KeyDifferences Compare(const KeyContents& first, const KeyContents& second, FoldCase fold);

}  // namespace vtclass::hive

#endif
