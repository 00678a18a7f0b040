#ifndef VTCLASS_HIVE_NAME_RULES_H
#define VTCLASS_HIVE_NAME_RULES_H

#include <cstdint>
#include <optional>

#include "hive/stored_data.h"

/* What the system makes of names, as far as that can be told without its table of letters. */
namespace vtclass::hive {

/* How two names of one list stand to each other: unknown where they differ first in letters beyond
 * ASCII. */
enum class Order { ascending, same, descending, unknown };
Order OrderOf(const StoredName& before, const StoredName& after);

/* An order of all names; letters beyond ASCII count as they are. */
bool ComesBefore(const StoredName& before, const StoredName& after);

/* Whether the first four letters that an older list keeps of a name can be its own. */
bool FitsHint(const StoredName& name, Bytes hint);

/* The hash by which the system looks a subkey up; nothing where its table of letters is needed. */
std::optional<std::uint32_t> HashOf(const StoredName& name);

}  // namespace vtclass::hive

#endif
