#ifndef VTCLASS_HIVE_DESCRIPTOR_H
#define VTCLASS_HIVE_DESCRIPTOR_H

#include "hive/bytes.h"

namespace vtclass::hive {

/* Whether the bytes can be a security descriptor in one piece: its form, and that its owner, group
 * and lists lie in it whole. What the entries of the lists say is not looked at. */
bool IsDescriptor(Bytes descriptor);

}  // namespace vtclass::hive

#endif
