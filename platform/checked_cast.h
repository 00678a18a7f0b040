#ifndef VTCLASS_PLATFORM_CHECKED_CAST_H
#define VTCLASS_PLATFORM_CHECKED_CAST_H

#include <optional>
#include <utility>

namespace vtclass::platform {

/*
 * `value` as the narrower type that a platform call takes, or nothing when it does not fit. Every
 * size that becomes a DWORD or an int passes here, so that no length is cut silently.
 */
template <typename To, typename From>
constexpr std::optional<To> CheckedCast(From value) noexcept {
  if (!std::in_range<To>(value)) return std::nullopt;
  return static_cast<To>(value);
}

}  // namespace vtclass::platform

#endif
