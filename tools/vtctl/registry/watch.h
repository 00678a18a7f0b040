#ifndef VTCLASS_TOOLS_VTCTL_REGISTRY_WATCH_H
#define VTCLASS_TOOLS_VTCTL_REGISTRY_WATCH_H

#include <map>
#include <string>
#include <vector>

#include "tools/vtctl/shared/key_reader.h"

namespace vtctl {

/* A key and everything below it at one moment: the path of each subkey, relative to the key, with
 * its values. */
using KeyTree = std::map<std::wstring, std::map<std::wstring, Value>>;

/* One difference between two moments. */
struct KeyChange {
  enum Kind { keyAdded, keyDeleted, valueAdded, valueChanged, valueDeleted } kind;
  std::wstring key;
  std::wstring name; /* of the value */
  Value value;       /* the new data, or the last ones of a deleted value */
};

KeyTree ReadTree(HKEY key);
std::vector<KeyChange> Compare(const KeyTree& before, const KeyTree& after);

struct WatchOptions {
  unsigned count = 0;   /* end after so many changes; 0: no limit */
  unsigned seconds = 0; /* end after that time; 0: no limit */
  bool json = false;
};

/* Prints the changes of a key and of everything below it until one of the limits is reached or the
 * operator interrupts. Returns the exit code. */
int Watch(const KeyTarget& target, const WatchOptions& options);

}  // namespace vtctl

#endif
