#include "tools/vtctl/session/text.h"

#include <iterator>

namespace vtctl {
namespace {

constexpr size_t kLongestExtension = 16;

}  // namespace

std::wstring Format(std::wstring_view message, const std::vector<std::wstring>& arguments) {
  std::wstring text;
  size_t next = 0;
  for (size_t i = 0; i < message.size(); ++i) {
    const wchar_t kind = message[i] == L'%' && i + 1 < message.size() ? message[i + 1] : L'\0';
    if (kind == L'%') {
      text += L'%';
      ++i;
    } else if ((kind == L's' || kind == L'u') && next < arguments.size()) {
      text += arguments[next++];
      ++i;
    } else {
      text += message[i];
    }
  }
  return text;
}

std::wstring Grouped(uint64_t number, const NumberStyle& style) {
  const std::wstring digits = std::to_wstring(number);
  std::wstring text;
  for (size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) text += style.group;
    text += digits[i];
  }
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
  /* One decimal, cut and not rounded: 1023.99 KB must not become 1024.0 KB. The rest is divided
   * before it is multiplied, or it would overflow at the upper end. */
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

std::wstring ExtensionOf(std::wstring_view fileName) {
  const size_t dot = fileName.rfind(L'.');
  if (dot == std::wstring_view::npos || dot == 0 || dot + 1 == fileName.size()) return {};
  std::wstring extension(fileName.substr(dot));
  if (extension.size() > kLongestExtension || extension.find(L' ') != std::wstring::npos) return {};
  for (wchar_t& unit : extension) {
    if (unit >= L'A' && unit <= L'Z') unit = static_cast<wchar_t>(unit - L'A' + L'a');
  }
  return extension;
}

}  // namespace vtctl
