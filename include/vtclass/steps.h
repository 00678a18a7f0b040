#ifndef VTCLASS_STEPS_H
#define VTCLASS_STEPS_H

#include <cstddef>
#include <exception>
#include <vector>

#include "vtclass/strings.h"

namespace vtclass {

/* A step that led to an answer, as it was taken. What the numbers mean is said where the steps of a
 * question are described. */
struct Step {
  int what = 0;
  unsigned long answer = 0;
  unsigned long code = 0; /* why there is no answer: a Win32 or Winsock code; 0: there is one */
  wcstring text;
};

namespace border {

/* A list of steps that the other side appends to: its memory is its owner's (vtclass/border.h). */
class StepSink {
 public:
  explicit StepSink(std::vector<Step>& list) noexcept : list(&list), append(&Appended) {}

  /* False, with the list as it is, when its owner has no memory. */
  bool Append(int what, unsigned long answer, unsigned long code, const wchar_t* text,
              std::size_t length) const noexcept {
    return append(list, what, answer, code, text, length);
  }

 private:
  static bool Appended(std::vector<Step>* list, int what, unsigned long answer, unsigned long code,
                       const wchar_t* text, std::size_t length) noexcept {
    try {
      list->push_back({what, answer, code, wcstring(text, length)});
      return true;
    } catch (const std::exception&) {
      return false;
    }
  }

  std::vector<Step>* list;
  bool (*append)(std::vector<Step>* list, int what, unsigned long answer, unsigned long code,
                 const wchar_t* text, std::size_t length) noexcept;
};

}  // namespace border

}  // namespace vtclass

#endif
