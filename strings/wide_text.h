#ifndef VTCLASS_STRINGS_WIDE_TEXT_H
#define VTCLASS_STRINGS_WIDE_TEXT_H

#include <string>
#include <string_view>

/*
 * The 16-bit text of the library's pure functions. On Windows a unit is wchar_t, so that the
 * functions take the library's own strings without a copy. Elsewhere wchar_t has 32 bits; there a
 * unit is char16_t, so that the native sanitizer and fuzz builds run the same code on the same
 * widths.
 */
namespace vtclass {

#if defined(_WIN32)
using WideUnit = wchar_t;
#define VTCLASS_WIDE(text) L##text
#else
using WideUnit = char16_t;
#define VTCLASS_WIDE(text) u##text
#endif

static_assert(sizeof(WideUnit) == 2, "a unit of wide text has 16 bits");

using WideView = std::basic_string_view<WideUnit>;
using WideText = std::basic_string<WideUnit>;

}  // namespace vtclass

#endif
