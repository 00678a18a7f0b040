#include "tools/vtctl/shared/printable.h"

namespace vtctl {
namespace {

constexpr wchar_t kReplacement = 0xFFFD;

bool IsHighSurrogate(wchar_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(wchar_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// Line and paragraph ends, what turns the direction of the text behind it, and what takes no room:
// a name that holds them would look like another one.
bool IsDisguise(wchar_t unit) {
  return unit == 0x061C || (unit >= 0x200B && unit <= 0x200F) ||
         (unit >= 0x2028 && unit <= 0x202E) || (unit >= 0x2060 && unit <= 0x206F) || unit == 0xFEFF;
}

bool IsNotForLogs(wchar_t unit) {
  return (unit < 0x20 && unit != L'\t' && unit != L'\n' && unit != L'\r') || unit >= 0xFFFE;
}

bool IsNotForScreens(wchar_t unit) {
  return unit < 0x20 || (unit >= 0x7F && unit <= 0x9F) || unit >= 0xFFFE || IsDisguise(unit);
}

void Replace(std::span<wchar_t> text, bool (*isForbidden)(wchar_t)) {
  for (size_t i = 0; i < text.size(); ++i) {
    if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
      ++i;
    } else if (isForbidden(text[i]) || IsHighSurrogate(text[i]) || IsLowSurrogate(text[i])) {
      text[i] = kReplacement;
    }
  }
}

}  // namespace

void MakePrintable(std::span<wchar_t> text) { Replace(text, IsNotForScreens); }

std::wstring Printable(std::wstring_view name) {
  std::wstring text(name);
  MakePrintable(text);
  return text;
}

std::wstring Storable(std::wstring_view name) {
  std::wstring text(name);
  Replace(text, IsNotForLogs);
  return text;
}

}  // namespace vtctl
