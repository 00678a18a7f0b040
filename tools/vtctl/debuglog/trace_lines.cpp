#include "tools/vtctl/debuglog/trace_lines.h"

#include <algorithm>

namespace vtctl::debuglog {
namespace {

std::size_t UnitOf(Encoding encoding) { return encoding == Encoding::utf16 ? 2 : 1; }

bool IsLineFeed(std::string_view bytes, std::size_t at, Encoding encoding) {
  return bytes[at] == '\n' && (encoding == Encoding::ansi || bytes[at + 1] == '\0');
}

}  // namespace

Encoding EncodingOf(std::string_view firstBytes) {
  if (firstBytes.starts_with(kByteOrderMark)) return Encoding::utf16;
  return firstBytes.size() >= 2 && firstBytes[1] == '\0' ? Encoding::utf16 : Encoding::ansi;
}

std::size_t LengthOfWholeLines(std::string_view bytes, Encoding encoding) {
  const std::size_t unit = UnitOf(encoding);
  for (std::size_t end = bytes.size() - bytes.size() % unit; end != 0; end -= unit) {
    if (IsLineFeed(bytes, end - unit, encoding)) return end;
  }
  return 0;
}

std::size_t StartOfLastLines(std::string_view bytes, Encoding encoding, std::size_t count) {
  const std::size_t whole = bytes.size() - bytes.size() % UnitOf(encoding);
  if (count == 0) return whole;
  // What ends a last line without its end is behind the last line feed.
  std::size_t end = LengthOfWholeLines(bytes.substr(0, whole), encoding) == whole
                        ? whole - std::min(whole, UnitOf(encoding))
                        : whole;
  for (; count != 0 && end != 0; --count) {
    end = LengthOfWholeLines(bytes.substr(0, end), encoding);
    if (count > 1 && end != 0) end -= UnitOf(encoding);
  }
  return end;
}

}  // namespace vtctl::debuglog
