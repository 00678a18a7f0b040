#ifndef VTCLASS_LOG_LOG_FILE_GUARD_H
#define VTCLASS_LOG_LOG_FILE_GUARD_H

#include <vtclass/win32.h>

#include <exception>

#include "platform/guarded_call.h"

namespace vtclass::log {

/* Runs `work` of a print. False when an exception ended it; the code of a system exception is
 * stored in `*lastError`. */
template <typename Work>
bool EndsWell(Work& work, unsigned long* lastError) {
  unsigned long code = 0;
  const platform::GuardedResult result = platform::GuardedCall(work, &code);
  if (result == platform::GuardedResult::systemException) *lastError = code;
  return result == platform::GuardedResult::done;
}

/* Runs `work`, which throws only when memory runs out; that is stored in `*lastError`. */
template <typename Work>
bool FindsMemory(Work work, unsigned long* lastError) noexcept {
  try {
    work();
    return true;
  } catch (const std::exception&) {
    *lastError = ERROR_NOT_ENOUGH_MEMORY;
    return false;
  }
}

/* Both: `work` reads a caller's text into a string of the log. */
template <typename Work>
bool ReadsText(Work work, unsigned long* lastError) {
  bool found = false;
  auto guarded = [&] { found = FindsMemory(work, lastError); };
  return EndsWell(guarded, lastError) && found;
}

}  // namespace vtclass::log

#endif
