#ifndef VTCLASS_PLATFORM_STEPS_H
#define VTCLASS_PLATFORM_STEPS_H

#include <new>
#include <string>

#include "vtclass/steps.h"

namespace vtclass::platform {

/* Where the steps of a question are noted; nowhere, when nobody wants to see them. */
class Steps {
 public:
  Steps() = default;
  explicit Steps(const border::StepSink& sink) : sink(&sink) {}

  bool AreWanted() const { return sink != nullptr; }

  /* Throws std::bad_alloc, on this side, when the reader has no memory. */
  void Add(int what, unsigned long answer, unsigned long code = 0,
           const std::wstring& text = {}) const {
    if (sink && !sink->Append(what, answer, code, text.data(), text.size())) {
      throw std::bad_alloc();
    }
  }

 private:
  const border::StepSink* sink = nullptr;
};

}  // namespace vtclass::platform

#endif
