#ifndef VTCLASS_TOOLS_VTCTL_SHARED_NUMBER_TEXT_H
#define VTCLASS_TOOLS_VTCTL_SHARED_NUMBER_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>

/* Numbers and shares as people read them, and texts that keep to their columns. */
namespace vtctl {

/* How the reader's language writes numbers. */
struct NumberStyle {
  std::wstring group = L",";
  std::wstring decimal = L".";
};

std::wstring Grouped(uint64_t number, const NumberStyle& style); /* "1,234,567" */
/* "0 errors", "1 error", "1,234 errors"; `many` where the plural has no plain s. */
std::wstring Counted(uint64_t count, const wchar_t* one, const wchar_t* many = nullptr);
std::wstring HexNumber(uint64_t number);                                /* "0x3e7" */
std::wstring WithUnit(uint64_t bytes, const NumberStyle& style = {});   /* "1.2 MB", "17 B" */
std::wstring Duration(uint64_t milliseconds, const NumberStyle& style); /* "0:01:12.3" */

/* "[#####-----]  42%" of `columns` characters in all. */
std::wstring ProgressBar(double fraction, int columns);

/* How many columns of a terminal the text takes: characters of East Asian writing take two. */
size_t ColumnsOf(const std::wstring& text);
/* The text cut or filled with blanks to that many columns. */
std::wstring Fitted(const std::wstring& text, size_t columns);
/* The text in that many columns at most, with three dots in place of its middle. */
std::wstring Shortened(const std::wstring& text, size_t columns);

/* The text behind what stands on its first line, as lines of fewer than so many columns with that
 * indent from the second on: in a terminal's last column writing would move to the next line. It is
 * broken at blanks alone, and a longer word goes beyond. */
std::wstring Wrapped(const std::wstring& first, const std::wstring& text, size_t indent,
                     size_t columns);

}  // namespace vtctl

#endif
