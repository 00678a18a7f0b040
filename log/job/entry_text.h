#ifndef VTCLASS_LOG_JOB_ENTRY_TEXT_H
#define VTCLASS_LOG_JOB_ENTRY_TEXT_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "strings/wide_text.h"

namespace vtclass::log {

/*
 * Stores in `closing` the closing form of an opening tag: "/" goes in behind the first "<", and the
 * first space or tab after it becomes the final ">". False, and `closing` untouched, when `tag`
 * has no "<".
 */
bool MakeClosingTag(WideView tag, WideText& closing);

/* "<UMI>Q-79-57344-33928</UMI>" of a message code with bit 29, the empty text of any other. */
class UmiPrefix {
 public:
  explicit UmiPrefix(std::uint32_t code);

  const WideUnit* Text() const { return text.data(); }

 private:
  void Append(WideView part);

  std::array<WideUnit, 32> text{};
  std::size_t length = 0;
};

/*
 * The name of a partition without a drive letter looks like markup. Removes the brackets of its
 * first occurrence in `text`, in place, and returns the new length; the text stays zero-terminated.
 * Requires: `text` has room for `length` characters and a zero.
 */
std::size_t UnbracketUtilityPartition(WideUnit* text, std::size_t length);

}  // namespace vtclass::log

#endif
