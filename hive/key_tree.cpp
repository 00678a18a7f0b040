#include "hive/key_tree.h"

namespace vtclass::hive {

bool KeyTree::OnKey(const Key& key) {
  const std::size_t place = nodes.size();
  above.resize(key.depth);
  if (!above.empty()) {
    Node& parent = nodes[above.back()];
    parent.contents.subkeys.push_back(key.name.Text());
    parent.subkeys.push_back(place);
  }
  above.push_back(place);
  nodes.emplace_back();
  return true;
}

bool KeyTree::OnValue(const StoredValue& value) {
  nodes.back().contents.values.push_back({value.name.Text(), value.type, value.data});
  return true;
}

}  // namespace vtclass::hive
