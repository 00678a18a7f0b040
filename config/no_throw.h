#ifndef VTCLASS_CONFIG_NO_THROW_H
#define VTCLASS_CONFIG_NO_THROW_H

#include <vtclass/win32.h>

#include <exception>

namespace vtclass::config {

/*
 * The status that `work` returns, or ERROR_NOT_ENOUGH_MEMORY when it throws: the registry classes
 * report by status only, and running out of memory is all that their strings and lists can throw.
 */
template <typename Work>
long StatusOf(Work work) noexcept {
  try {
    return work();
  } catch (const std::exception&) {
    return ERROR_NOT_ENOUGH_MEMORY;
  }
}

}  // namespace vtclass::config

#endif
