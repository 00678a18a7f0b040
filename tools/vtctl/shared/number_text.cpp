#include "tools/vtctl/shared/number_text.h"

#include <algorithm>
#include <cwchar>
#include <iterator>

namespace vtctl {
namespace {

// From here on most characters are wide; taking a narrow one for wide costs a blank.
constexpr wchar_t kFirstWide = 0x1100;

size_t WidthOf(wchar_t unit) { return unit >= kFirstWide ? 2 : 1; }

bool IsHighSurrogate(wchar_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(wchar_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

}  // namespace

std::wstring Grouped(uint64_t number, const NumberStyle& style) {
  const std::wstring digits = std::to_wstring(number);
  std::wstring text;
  for (size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) text += style.group;
    text += digits[i];
  }
  return text;
}

std::wstring Counted(uint64_t count, const wchar_t* one, const wchar_t* many) {
  std::wstring text = Grouped(count, {}) + L" ";
  if (count == 1) return text + one;
  return many ? text + many : text + one + L"s";
}

std::wstring HexNumber(uint64_t number) {
  wchar_t text[19];
  std::swprintf(text, std::size(text), L"0x%llx", static_cast<unsigned long long>(number));
  return text;
}

std::wstring WithUnit(uint64_t bytes, const NumberStyle& style) {
  static const wchar_t* const units[] = {L"KB", L"MB", L"GB", L"TB", L"PB", L"EB"};
  if (bytes < 1024) return std::to_wstring(bytes) + L" B";
  size_t unit = 0;
  uint64_t divisor = 1024;
  while (unit + 1 < std::size(units) && bytes / divisor >= 1024) {
    divisor *= 1024;
    ++unit;
  }
  // One decimal, cut and not rounded: 1023.99 KB must not become 1024.0 KB. The rest is divided
  // before it is multiplied, or it would overflow at the upper end.
  const uint64_t tenths = bytes / divisor * 10 + bytes % divisor / (divisor / 1024) * 10 / 1024;
  return Grouped(tenths / 10, style) + style.decimal + std::to_wstring(tenths % 10) + L" " +
         units[unit];
}

std::wstring Duration(uint64_t milliseconds, const NumberStyle& style) {
  const auto twoDigits = [](uint64_t number) {
    return (number < 10 ? L"0" : L"") + std::to_wstring(number);
  };
  const uint64_t seconds = milliseconds / 1000;
  return std::to_wstring(seconds / 3600) + L":" + twoDigits(seconds / 60 % 60) + L":" +
         twoDigits(seconds % 60) + style.decimal + std::to_wstring(milliseconds % 1000 / 100);
}

std::wstring ProgressBar(double fraction, int columns) {
  const double part = std::clamp(fraction, 0.0, 1.0);
  const int room = std::max(columns - 7, 1);  // the brackets and "  42%" stand around it
  const int done = static_cast<int>(part * room);
  const std::wstring percent = std::to_wstring(static_cast<int>(part * 100)) + L"%";
  return L"[" + std::wstring(static_cast<size_t>(done), L'#') +
         std::wstring(static_cast<size_t>(room - done), L'-') + L"]" +
         std::wstring(5 - percent.size(), L' ') + percent;
}

size_t ColumnsOf(const std::wstring& text) {
  size_t columns = 0;
  for (const wchar_t unit : text) columns += WidthOf(unit);
  return columns;
}

std::wstring Fitted(const std::wstring& text, size_t columns) {
  std::wstring line;
  size_t used = 0;
  for (const wchar_t unit : text) {
    if (used + WidthOf(unit) > columns) break;
    line += unit;
    used += WidthOf(unit);
  }
  return line.append(columns - used, L' ');
}

std::wstring Shortened(const std::wstring& text, size_t columns) {
  constexpr size_t kDots = 3;
  if (ColumnsOf(text) <= columns) return text;
  if (columns <= kDots) return std::wstring(columns, L'.');
  const size_t room = columns - kDots;
  size_t begin = 0;
  size_t used = 0;
  while (used + WidthOf(text[begin]) <= room / 2) used += WidthOf(text[begin++]);
  size_t end = text.size();
  while (used + WidthOf(text[end - 1]) <= room) used += WidthOf(text[--end]);
  // Half a pair shows as a box.
  if (begin > 0 && IsHighSurrogate(text[begin - 1])) --begin;
  if (end < text.size() && IsLowSurrogate(text[end])) ++end;
  return text.substr(0, begin) + std::wstring(kDots, L'.') + text.substr(end);
}

std::wstring Wrapped(const std::wstring& first, const std::wstring& text, size_t indent,
                     size_t columns) {
  std::wstring lines = first;
  size_t used = ColumnsOf(first);
  bool isAtBegin = true;  // of what stands on this line behind the indent
  for (size_t at = 0; at < text.size();) {
    const size_t end = std::min(text.find(L' ', at), text.size());
    const std::wstring word = text.substr(at, end - at);
    const size_t width = ColumnsOf(word);
    if (!isAtBegin && used + 1 + width >= columns) {
      lines += L"\n" + std::wstring(indent, L' ');
      used = indent;
      isAtBegin = true;
    }
    if (!isAtBegin) lines += L' ';
    lines += word;
    used += width + (isAtBegin ? 0 : 1);
    isAtBegin = false;
    at = end + 1;
  }
  return lines + L"\n";
}

}  // namespace vtctl
