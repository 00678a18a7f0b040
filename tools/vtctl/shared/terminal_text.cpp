#include "tools/vtctl/shared/terminal_text.h"

#include <algorithm>
#include <string_view>

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/number_text.h"

namespace vtctl {
namespace {

constexpr std::size_t kFurther = 4;
constexpr std::wstring_view kColour = L"\x1b[";
constexpr std::wstring_view kNoColour = L"\x1b[0m";

// Where the text of a line begins, behind its indent and its colour in either order.
std::size_t TextBegin(const std::wstring& line) {
  std::size_t at = line.find_first_not_of(L' ');
  if (at != std::wstring::npos && line.compare(at, kColour.size(), kColour) == 0) {
    at = line.find_first_not_of(L' ', line.find(L'm', at) + 1);
  }
  return std::min(at, line.size());
}

std::wstring WrappedLine(const std::wstring& line, std::size_t columns) {
  const std::wstring prefix = line.substr(0, TextBegin(line));
  const auto indent = static_cast<std::size_t>(std::ranges::count(prefix, L' '));
  std::wstring text = line.substr(prefix.size());
  const std::wstring suffix = text.ends_with(kNoColour) ? std::wstring(kNoColour) : L"";
  text.resize(text.size() - suffix.size());
  std::wstring wrapped = Wrapped(std::wstring(indent, L' '), text, indent + kFurther, columns);
  wrapped.pop_back();
  return prefix + wrapped.substr(indent) + suffix + L"\n";
}

}  // namespace

std::wstring WrappedLines(const std::wstring& lines, std::size_t columns) {
  std::wstring wrapped;
  for (std::size_t at = 0; at < lines.size();) {
    const std::size_t end = std::min(lines.find(L'\n', at), lines.size());
    wrapped += WrappedLine(lines.substr(at, end - at), columns);
    at = end + 1;
  }
  return wrapped;
}

std::wstring ForTerminal(const std::wstring& lines) {
  if (!OutputIsTerminal()) return lines;
  return WrappedLines(lines, static_cast<std::size_t>(TerminalWidth()));
}

}  // namespace vtctl
