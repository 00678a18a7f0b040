#ifndef VTCLASS_HIVE_KEY_TREE_H
#define VTCLASS_HIVE_KEY_TREE_H

#include <cstddef>
#include <vector>

#include "hive/compare.h"
#include "hive/hive_reader.h"

namespace vtclass::hive {

/* All keys of a hive, kept to be compared. Data stays in the file's bytes. */
class KeyTree : public HiveVisitor {
 public:
  struct Node {
    KeyContents contents;
    std::vector<std::size_t> subkeys; /* the places of its subkeys' nodes, as in the contents */
  };

  bool OnKey(const Key& key) override;
  bool OnValue(const StoredValue& value) override;

  /* The first key is the first node. */
  const std::vector<Node>& Nodes() const { return nodes; }

 private:
  std::vector<Node> nodes;
  std::vector<std::size_t> above; /* the node of the last key, and of those above it */
};

}  // namespace vtclass::hive

#endif
