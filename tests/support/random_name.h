#ifndef VTCLASS_TESTS_SUPPORT_RANDOM_NAME_H
#define VTCLASS_TESTS_SUPPORT_RANDOM_NAME_H

#include <string>

namespace vtclass::test {

/*
 * "<process id>-<random number>": a part of names of keys, folders and objects that no other
 * test, process or earlier run uses. `OwnerIsAlive` tells of such a name whether the process that
 * made it still runs; leftovers of crashed runs are swept by it.
 */
std::wstring RandomName();
bool OwnerIsAlive(const std::wstring& randomName);

}  // namespace vtclass::test

#endif
