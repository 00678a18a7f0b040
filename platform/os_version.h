#ifndef VTCLASS_PLATFORM_OS_VERSION_H
#define VTCLASS_PLATFORM_OS_VERSION_H

namespace vtclass::platform {

/* True when the running system reports `major`.`minor` or later (GetVersionExW); false also when
 * the query fails. Asks the system each time: tests play older systems. */
bool IsSystemAtLeast(unsigned long major, unsigned long minor) noexcept;

}  // namespace vtclass::platform

#endif
