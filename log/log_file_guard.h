#ifndef VTCLASS_LOG_LOG_FILE_GUARD_H
#define VTCLASS_LOG_LOG_FILE_GUARD_H

#include <vtclass/win32.h>

#include "platform/guarded_call.h"
#include "platform/no_throw.h"

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

/* The same for work that reads a caller's text into a string of the log; want of memory is stored
 * too. */
template <typename Work>
bool ReadsText(Work work, unsigned long* lastError) {
  DWORD failure = ERROR_SUCCESS;
  auto guarded = [&] { failure = platform::StatusOf(work); };
  if (!EndsWell(guarded, lastError)) return false;
  if (failure != ERROR_SUCCESS) *lastError = failure;
  return failure == ERROR_SUCCESS;
}

}  // namespace vtclass::log

#endif
