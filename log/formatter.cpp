#include "log/formatter.h"

#include <cwchar>

#include "log/plain_format.h"
#include "platform/wide_format.h"

namespace vtclass::log {

int FormatText(wchar_t* out, std::size_t capacity, const wchar_t* format, va_list arguments) {
  int length = FormatPlain(out, capacity, format, arguments);
  if (length >= 0) return length;
  va_list copy;
  va_copy(copy, arguments);
  length = platform::FormatWide(out, capacity, format, copy);
  va_end(copy);
  // An exact fit comes without its zero and counts as too long, like everything that is cut.
  if (length >= 0 && static_cast<std::size_t>(length) < capacity) {
    return static_cast<int>(std::wcslen(out));
  }
  va_copy(copy, arguments);
  length = platform::CountWide(format, copy);
  va_end(copy);
  return length;
}

}  // namespace vtclass::log
