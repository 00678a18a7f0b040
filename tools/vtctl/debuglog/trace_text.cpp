#include "tools/vtctl/debuglog/trace_text.h"

#include <vtclass/win32.h>

#include <algorithm>
#include <cstring>

#include "platform/same_name.h"
#include "tools/vtctl/shared/printable.h"

namespace vtctl::debuglog {
namespace {

std::wstring Widened(std::string_view bytes, Encoding encoding) {
  std::wstring text;
  if (encoding == Encoding::utf16) {
    if (bytes.starts_with(kByteOrderMark)) bytes.remove_prefix(kByteOrderMark.size());
    text.resize(bytes.size() / sizeof(wchar_t));
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
  } else if (!bytes.empty()) {
    // No code page makes more units than bytes.
    text.resize(bytes.size());
    const int length =
        ::MultiByteToWideChar(CP_ACP, 0, bytes.data(), static_cast<int>(bytes.size()), text.data(),
                              static_cast<int>(text.size()));
    text.resize(static_cast<std::size_t>(std::max(length, 0)));
  }
  return text;
}

}  // namespace

std::wstring ShownText(std::string_view bytes, Encoding encoding) {
  const std::wstring text = Widened(bytes, encoding);
  std::wstring shown;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find_first_of(L"\t\r\n", at), text.size());
    shown += Printable(std::wstring_view(text).substr(at, end - at));
    if (end < text.size() && text[end] != L'\r') shown += text[end];
    at = end + 1;
  }
  return shown;
}

std::optional<RotatedPart> RotatedPartOf(std::wstring_view liveName, std::wstring_view name) {
  if (name.size() <= liveName.size()) return std::nullopt;
  if (!vtclass::platform::IsSameName(name.substr(0, liveName.size()), liveName)) {
    return std::nullopt;
  }
  const std::wstring_view rest = name.substr(liveName.size());
  const std::size_t digits = rest.find_last_not_of(L"0123456789") + 1;
  const std::wstring_view number = rest.substr(digits);
  if (number.empty() || number.size() > 9 || number.front() == L'0' || digits == 0) {
    return std::nullopt;
  }
  RotatedPart part = {std::wstring(rest.substr(0, digits)), 0};
  for (const wchar_t digit : number) {
    part.number = part.number * 10 + static_cast<unsigned long>(digit - L'0');
  }
  return part;
}

std::wstring FurtherName(std::wstring_view firstPath, unsigned long number) {
  const std::size_t name = firstPath.find_last_of(L"\\/") + 1;
  const std::size_t dot = firstPath.rfind(L'.');
  const std::size_t split = dot == std::wstring_view::npos || dot < name ? firstPath.size() : dot;
  return std::wstring(firstPath.substr(0, split)) + L"-" + std::to_wstring(number + 1) +
         std::wstring(firstPath.substr(split));
}

}  // namespace vtctl::debuglog
