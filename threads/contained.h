#ifndef VTCLASS_THREADS_CONTAINED_H
#define VTCLASS_THREADS_CONTAINED_H

#include <exception>

namespace vtclass::threads {

/* Writes to the debugger output that a call ended by an exception; `text` may be null. */
void ReportException(const char* text) noexcept;

/*
 * Runs a caller's code on a worker. A C++ exception ends here: past it would come the end of the
 * process, with every other job in it. Counts and references that the caller of this function
 * keeps stay right.
 */
template <typename Work>
void Contained(Work work) noexcept {
  try {
    work();
  } catch (const std::exception& exception) {
    ReportException(exception.what());
  } catch (...) {
    ReportException(nullptr);
  }
}

}  // namespace vtclass::threads

#endif
