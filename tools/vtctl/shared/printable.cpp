#include "tools/vtctl/shared/printable.h"

namespace vtctl {
namespace {

constexpr wchar_t kReplacement = 0xFFFD;

bool IsHighSurrogate(wchar_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(wchar_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// Line and paragraph ends, and what turns the direction of the text behind it: a name that holds
// them would look like another one.
bool IsDisguise(wchar_t unit) {
  return (unit >= 0x2028 && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
}

bool IsForbidden(wchar_t unit) {
  return unit < 0x20 || (unit >= 0x7F && unit <= 0x9F) || unit >= 0xFFFE || IsDisguise(unit);
}

}  // namespace

void MakePrintable(std::span<wchar_t> text) {
  for (size_t i = 0; i < text.size(); ++i) {
    if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
      ++i;
    } else if (IsForbidden(text[i]) || IsHighSurrogate(text[i]) || IsLowSurrogate(text[i])) {
      text[i] = kReplacement;
    }
  }
}

std::wstring Printable(std::wstring_view name) {
  std::wstring text(name);
  MakePrintable(text);
  return text;
}

}  // namespace vtctl
