#include "tools/vtctl/session/text.h"

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
