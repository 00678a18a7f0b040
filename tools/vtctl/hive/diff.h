#ifndef VTCLASS_TOOLS_VTCTL_HIVE_DIFF_H
#define VTCLASS_TOOLS_VTCTL_HIVE_DIFF_H

#include <vtclass/win32.h>

#include <cstddef>
#include <functional>
#include <string>

#include "hive/key_tree.h"

namespace vtctl {

/* One way in which a hive and a registry key are not the same. */
struct Difference {
  enum Kind {
    keyNotInFile,     /* with all below it, which is not told by itself */
    keyNotInRegistry, /* the same */
    valueNotInFile,
    valueNotInRegistry,
    otherType, /* the data may be another, too */
    otherData,
    unreadable /* a key that both have, and that the registry does not let us read */
  };

  Kind kind = keyNotInFile;
  std::wstring key;  /* below the key that is compared; empty for that one */
  std::wstring name; /* of the value, when it is about one */
  const vtclass::hive::NamedValue* inFile = nullptr;
  const vtclass::hive::NamedValue* inRegistry = nullptr;
  unsigned long status = 0; /* why it is unreadable */
};

struct DiffSummary {
  std::size_t keys = 0; /* compared */
  std::size_t values = 0;
  std::size_t differences = 0;
  std::size_t keysNotInFile = 0;
  std::size_t unreadable = 0;
};

/*
 * Compares the hive with the registry key and all below both, and reports each difference as it is
 * found. The key may have been opened for reading only. Ends early when the operator interrupts.
 */
DiffSummary CompareWithKey(const vtclass::hive::KeyTree& file, HKEY key,
                           const std::function<void(const Difference&)>& report);

}  // namespace vtctl

#endif
