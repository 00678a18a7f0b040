#include "log/plain_format.h"

#include <algorithm>
#include <climits>

#include "strings/decimal.h"

namespace vtclass::log {

namespace {

// Takes parts of a text; writes them while they fit, and counts them all.
class PlainText {
 public:
  PlainText(WideUnit* out, std::size_t capacity) : out(out), capacity(capacity) {}

  void Append(WideView part) {
    if (part.size() < capacity - std::min(capacity, length)) part.copy(out + length, part.size());
    length += part.size();
  }

  template <typename Number>
  void AppendNumber(Number number) {
    auto rest = static_cast<unsigned long>(number);
    if (number < 0) {
      // The lowest number has no positive twin; its digits are those of the unsigned difference.
      rest = 0 - rest;
      Append(VTCLASS_WIDE("-"));
    }
    Append(strings::Decimal(rest).View());
  }

  int End() {
    if (length < capacity) out[length] = 0;
    return length <= INT_MAX ? static_cast<int>(length) : -1;
  }

 private:
  WideUnit* const out;
  const std::size_t capacity;
  std::size_t length = 0;
};

// Appends the next argument as `conversion` says; false when that takes the C run time.
bool AppendArgument(PlainText& text, WideUnit conversion, va_list* arguments) {
  if (conversion == 's') {
    const WideUnit* const argument = va_arg(*arguments, const WideUnit*);
    text.Append(argument ? WideView(argument) : WideView(VTCLASS_WIDE("(null)")));
  } else if (conversion == 'd' || conversion == 'i') {
    text.AppendNumber(va_arg(*arguments, int));
  } else if (conversion == 'u') {
    text.AppendNumber(va_arg(*arguments, unsigned int));
  } else if (conversion == '%') {
    text.Append(VTCLASS_WIDE("%"));
  } else {
    return false;
  }
  return true;
}

bool AppendLongArgument(PlainText& text, WideUnit conversion, va_list* arguments) {
  if (conversion == 'd') {
    text.AppendNumber(va_arg(*arguments, long));
  } else if (conversion == 'u') {
    text.AppendNumber(va_arg(*arguments, unsigned long));
  } else {
    return false;
  }
  return true;
}

int FormatAll(PlainText& text, const WideUnit* format, va_list* arguments) {
  for (const WideUnit* run = format;;) {
    while (*format != 0 && *format != '%') ++format;
    text.Append(WideView(run, static_cast<std::size_t>(format - run)));
    if (*format == 0) return text.End();
    const bool isLong = format[1] == 'l';
    const bool plain = isLong ? AppendLongArgument(text, format[2], arguments)
                              : AppendArgument(text, format[1], arguments);
    if (!plain) return -1;
    format += isLong ? 3 : 2;
    run = format;
  }
}

}  // namespace

// A va_list happens to be a pointer here.
int FormatPlain(WideUnit* out, std::size_t capacity, const WideUnit* format, va_list arguments) {
  PlainText text(out, capacity);
  va_list own;
  va_copy(own, arguments);
  const int length = FormatAll(text, format, &own);
  va_end(own);
  return length;
}

}  // namespace vtclass::log
