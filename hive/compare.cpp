#include "hive/compare.h"

#include <algorithm>

namespace vtclass::hive {
namespace {

// A folded name and its place.
using Folded = std::pair<WideText, std::size_t>;

WideText NameOf(const WideText& subkey) { return subkey; }
WideText NameOf(const NamedValue& value) { return value.name; }

template <typename Entry>
std::vector<Folded> SortedNames(const std::vector<Entry>& entries, FoldCase fold) {
  std::vector<Folded> names;
  names.reserve(entries.size());
  for (const Entry& entry : entries) {
    WideText name = NameOf(entry);
    std::ranges::transform(name, name.begin(), fold);
    names.emplace_back(std::move(name), names.size());
  }
  std::ranges::sort(names);
  return names;
}

// Tells which names the first and the second alone have, and the places of those that both have.
template <typename Entry, typename OnPair>
void Match(const std::vector<Entry>& first, const std::vector<Entry>& second, FoldCase fold,
           std::vector<std::size_t>& onlyFirst, std::vector<std::size_t>& onlySecond,
           const OnPair& onPair) {
  const std::vector<Folded> ours = SortedNames(first, fold), theirs = SortedNames(second, fold);
  auto our = ours.begin();
  auto their = theirs.begin();
  while (our != ours.end() || their != theirs.end()) {
    if (their == theirs.end() || (our != ours.end() && our->first < their->first)) {
      onlyFirst.push_back(our++->second);
    } else if (our == ours.end() || their->first < our->first) {
      onlySecond.push_back(their++->second);
    } else {
      onPair(our++->second, their++->second);
    }
  }
}

}  // namespace

KeyDifferences Compare(const KeyContents& first, const KeyContents& second, FoldCase fold) {
  KeyDifferences found;
  Match(first.values, second.values, fold, found.valuesOnlyInFirst, found.valuesOnlyInSecond,
        [&](std::size_t our, std::size_t their) {
          const NamedValue& a = first.values[our];
          const NamedValue& b = second.values[their];
          if (a.type != b.type || !(a.data == b.data)) found.unlikeValues.emplace_back(our, their);
        });
  Match(first.subkeys, second.subkeys, fold, found.subkeysOnlyInFirst, found.subkeysOnlyInSecond,
        [&](std::size_t our, std::size_t their) { found.commonSubkeys.emplace_back(our, their); });
  return found;
}

}  // namespace vtclass::hive
