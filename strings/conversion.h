#ifndef VTCLASS_STRINGS_CONVERSION_H
#define VTCLASS_STRINGS_CONVERSION_H

#include <vtclass/win32.h>

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

#include "platform/checked_cast.h"
#include "strings/ascii.h"

namespace vtclass::strings {

/* Texts up to this many units are converted in one pass, into a buffer on the stack. */
inline constexpr int kShortText = 512;

/* A length as the platform's conversions take it. */
inline int ConversionLength(std::size_t length) {
  const auto checked = platform::CheckedCast<int>(length);
  if (!checked) throw std::length_error("text too long for the platform's conversion");
  return *checked;
}

/* True when `text` begins in the memory that `target` owns. */
template <typename From, typename To>
bool LiesIn(const From* text, const std::basic_string<To>& target) {
  const auto at = reinterpret_cast<std::uintptr_t>(text);
  const auto begin = reinterpret_cast<std::uintptr_t>(target.data());
  return at >= begin && at - begin <= target.capacity() * sizeof(To);
}

/*
 * Replaces `target` by `text` in the other width. `holdsAscii` says that text below 128 stands for
 * itself; all other text goes through `convert(out, room)`, a call of the platform that answers
 * with the units written, with those needed when `room` is 0, and with 0 when it fails. Everything
 * that may throw happens before `target` changes, and `text` may lie in `target`.
 */
template <typename From, typename To, typename Convert>
void AssignConverted(std::basic_string<To>& target, const From* text, std::size_t length,
                     bool holdsAscii, Convert convert) {
  if (holdsAscii && IsAscii(text, length) && !LiesIn(text, target)) {
    target.resize(length);
    CopyAscii(text, length, target.data());
    return;
  }
  if (length <= kShortText) {
    To scratch[kShortText];
    const int converted = convert(scratch, kShortText);
    if (converted > 0) {
      target.assign(scratch, static_cast<std::size_t>(converted));
      return;
    }
    // It has grown beyond the scratch buffer, or it cannot be converted at all.
  }
  std::basic_string<To> fresh;
  const int needed = convert(nullptr, 0);
  fresh.resize(needed > 0 ? static_cast<std::size_t>(needed) : 0);
  const int converted = fresh.empty() ? 0 : convert(fresh.data(), needed);
  fresh.resize(converted > 0 ? static_cast<std::size_t>(converted) : 0);
  target = std::move(fresh);
}

}  // namespace vtclass::strings

#endif
