#ifndef VTCLASS_STRINGS_CONVERSION_H
#define VTCLASS_STRINGS_CONVERSION_H

#include <vtclass/win32.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

#include "platform/border.h"
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

/* The string's room for `length` units; std::bad_alloc when its owner has no memory. */
template <typename Unit>
Unit* RoomIn(const border::TextSink<Unit>& target, std::size_t length) {
  return border::NotNull(target.Resize(length));
}

/*
 * Replaces `target` by `text` in the other width. `holdsAscii` says that text below 128 stands for
 * itself; all other text goes through `convert(out, room)`, a call of the platform that answers
 * with the units written, with those needed when `room` is 0, and with 0 when it fails. Everything
 * that may throw happens before `target` changes, and `text` may lie in `target`.
 */
template <typename From, typename To, typename Convert>
void AssignConverted(const border::TextSink<To>& target, const From* text, std::size_t length,
                     bool holdsAscii, Convert convert) {
  if (holdsAscii && IsAscii(text, length) && !LiesIn(text, target.Text())) {
    CopyAscii(text, length, RoomIn(target, length));
    return;
  }
  if (length <= kShortText) {
    To scratch[kShortText];
    const int converted = convert(scratch, kShortText);
    if (converted > 0) {
      platform::HandOver(target, std::basic_string_view(scratch, static_cast<size_t>(converted)));
      return;
    }
    // It has grown beyond the scratch buffer, or it cannot be converted at all.
  }
  const int needed = convert(nullptr, 0);
  if (needed <= 0) {
    RoomIn(target, 0);
    return;
  }
  const auto fresh = std::make_unique_for_overwrite<To[]>(static_cast<std::size_t>(needed));
  const int converted = convert(fresh.get(), needed);
  const std::size_t written = converted > 0 ? static_cast<std::size_t>(converted) : 0;
  platform::HandOver(target, std::basic_string_view(fresh.get(), written));
}

}  // namespace vtclass::strings

#endif
