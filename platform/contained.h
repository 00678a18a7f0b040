#ifndef VTCLASS_PLATFORM_CONTAINED_H
#define VTCLASS_PLATFORM_CONTAINED_H

#include <exception>

namespace vtclass::platform {

/* Writes to the debugger output that a caller's code ended by an exception; `text` may be null. */
void ReportException(const char* text) noexcept;

/*
 * Runs a caller's code on a thread of the library. A C++ exception ends here: past it would come
 * the end of the process, with every other job in it. Counts and references that the caller of this
 * function keeps stay right.
 */
template <typename Work>
bool Contained(Work work) noexcept {
  try {
    work();
    return true;
  } catch (const std::exception& exception) {
    ReportException(exception.what());
  } catch (...) {
    ReportException(nullptr);
  }
  return false;
}

}  // namespace vtclass::platform

#endif
