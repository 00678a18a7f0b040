#ifndef VTCLASS_PLATFORM_WIDE_FORMAT_H
#define VTCLASS_PLATFORM_WIDE_FORMAT_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cwchar>

#include "platform/c_run_time.h"

#if VTCLASS_UNIVERSAL_CRT && defined(__MINGW32__)
// The run time's, though the toolchain's headers do not declare it.
extern "C" __declspec(dllimport) _invalid_parameter_handler
_set_thread_local_invalid_parameter_handler(_invalid_parameter_handler handler);
#endif

/*
 * The C run time's own formatters of wide text, in which %s is wide and %S narrow, with the same
 * texts and answers from either run time: those of msvcrt, such as three digits of an exponent.
 * Both answer -1 for %n, which would write, and for what the run time refuses; the Universal run
 * time would end the process there. Formats and arguments that cannot be read fault as usual.
 */
namespace vtclass::platform {

#if VTCLASS_UNIVERSAL_CRT

inline void IgnoreRefusal(const wchar_t*, const wchar_t*, const wchar_t*, unsigned,
                          std::uintptr_t) {}

// The handler is restored behind a fault too, which runs no destructors: it must not outlive this
// module.
inline int CallFormatter(unsigned __int64 answer, wchar_t* out, std::size_t capacity,
                         const wchar_t* format, va_list arguments) {
  constexpr unsigned __int64 kTexts = _CRT_INTERNAL_PRINTF_LEGACY_WIDE_SPECIFIERS |
                                      _CRT_INTERNAL_PRINTF_LEGACY_MSVCRT_COMPATIBILITY |
                                      _CRT_INTERNAL_PRINTF_LEGACY_THREE_DIGIT_EXPONENTS;
  const auto before = _set_thread_local_invalid_parameter_handler(&IgnoreRefusal);
  int length = -1;
  __try {
    length = __stdio_common_vswprintf(kTexts | answer, out, capacity, format, nullptr, arguments);
  } __finally {
    _set_thread_local_invalid_parameter_handler(before);
  }
  return length < 0 ? -1 : length;
}

inline int RunTimeFormat(wchar_t* out, std::size_t capacity, const wchar_t* format,
                         va_list arguments) {
  return CallFormatter(_CRT_INTERNAL_PRINTF_LEGACY_VSPRINTF_NULL_TERMINATION, out, capacity, format,
                       arguments);
}
inline int RunTimeCount(const wchar_t* format, va_list arguments) {
  return CallFormatter(_CRT_INTERNAL_PRINTF_STANDARD_SNPRINTF_BEHAVIOR, nullptr, 0, format,
                       arguments);
}

#else

// This run time answers -1 by itself.
inline int RunTimeFormat(wchar_t* out, std::size_t capacity, const wchar_t* format,
                         va_list arguments) {
  return _vsnwprintf(out, capacity, format, arguments);
}
inline int RunTimeCount(const wchar_t* format, va_list arguments) {
  return _vscwprintf(format, arguments);
}

#endif

// Whether there is a %n, whatever stands between its two characters: the run times differ in
// whether they refuse it, and in what they have written by then.
inline bool HoldsCounting(const wchar_t* format) {
  while ((format = std::wcschr(format, L'%'))) {
    format += 1 + std::wcsspn(format + 1, L"-+ #0123456789.*hlLwIjztFN");
    if (*format == L'n') return true;
    if (*format != L'\0') ++format;
  }
  return false;
}

/* As msvcrt's _vsnwprintf: -1 for a text that is longer than `capacity`, which is cut; one that
 * just fits has no zero. */
inline int FormatWide(wchar_t* out, std::size_t capacity, const wchar_t* format,
                      va_list arguments) {
  return HoldsCounting(format) ? -1 : RunTimeFormat(out, capacity, format, arguments);
}

/* The length of the text in characters. */
inline int CountWide(const wchar_t* format, va_list arguments) {
  return HoldsCounting(format) ? -1 : RunTimeCount(format, arguments);
}

}  // namespace vtclass::platform

#endif
