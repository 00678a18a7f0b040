#include "log/formatter.h"

#include <cstdio>
#include <cwchar>

#include "log/plain_format.h"

namespace vtclass::log {

int FormatText(wchar_t* out, std::size_t capacity, const wchar_t* format, va_list arguments) {
  int length = FormatPlain(out, capacity, format, arguments);
  if (length >= 0) return length;
  va_list copy;
  // Only the C run time's own formatter will do: in its wide form %s is wide text and %S narrow.
  va_copy(copy, arguments);
  length = _vsnwprintf(out, capacity, format, copy);
  va_end(copy);
  // An exact fit comes without its zero and counts as too long, like everything that is cut.
  if (length >= 0 && static_cast<std::size_t>(length) < capacity) {
    return static_cast<int>(std::wcslen(out));
  }
  va_copy(copy, arguments);
  length = _vscwprintf(format, copy);
  va_end(copy);
  return length;
}

}  // namespace vtclass::log
