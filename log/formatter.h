#ifndef VTCLASS_LOG_FORMATTER_H
#define VTCLASS_LOG_FORMATTER_H

#include <cstdarg>
#include <cstddef>

namespace vtclass::log {

/*
 * Formats as Microsoft's C run time does wide text, plain formats faster. Returns the length of the
 * formatted text, which `out` holds, zero-terminated, when it is below `capacity`; -1 when the
 * formatter refuses. A text ends at its first zero, also when a %c has put one into it. Each call
 * reads the arguments afresh.
 * Requires: `out` has room for `capacity` characters; `capacity` is not 0.
 */
int FormatText(wchar_t* out, std::size_t capacity, const wchar_t* format, va_list arguments);

}  // namespace vtclass::log

#endif
