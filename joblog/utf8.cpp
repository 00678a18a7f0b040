#include "joblog/utf8.h"

#include <cstdint>

namespace vtclass::joblog {
namespace {

bool IsHigh(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
bool IsLow(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

void AppendCodePoint(std::uint32_t code, std::string& to) {
  const auto tail = [&](unsigned shift) {
    to += static_cast<char>(0x80 | ((code >> shift) & 0x3F));
  };
  if (code < 0x80) {
    to += static_cast<char>(code);
  } else if (code < 0x800) {
    to += static_cast<char>(0xC0 | (code >> 6));
    tail(0);
  } else if (code < 0x10000) {
    to += static_cast<char>(0xE0 | (code >> 12));
    tail(6);
    tail(0);
  } else {
    to += static_cast<char>(0xF0 | (code >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
}

// Appends the ASCII characters at the beginning of `text`, in steps that the compiler turns into
// wide ones, and returns how many there are.
std::size_t AppendAscii(std::u16string_view text, std::string& to) {
  constexpr std::size_t kStep = 16;
  std::size_t count = 0;
  for (; count + kStep <= text.size(); count += kStep) {
    unsigned all = 0;
    for (std::size_t i = 0; i < kStep; ++i) all |= text[count + i];
    if (all >= 0x80) break;
  }
  while (count < text.size() && text[count] < 0x80) ++count;
  const std::size_t old = to.size();
  to.resize(old + count);
  for (std::size_t i = 0; i < count; ++i) to[old + i] = static_cast<char>(text[i]);
  return count;
}

// U+0080 to U+009F, ends of lines and paragraphs (U+2028, U+2029) and marks of direction as UTF-8:
// the bytes to replace.
std::size_t UnsafeSequence(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  if (text.size() >= 2 && byte(0) == 0xC2 && byte(1) < 0xA0) return 2;
  if (text.size() >= 2 && byte(0) == 0xD8 && byte(1) == 0x9C) return 2;
  if (text.size() < 3 || byte(0) != 0xE2) return 0;
  const bool mark = byte(1) == 0x80 && (byte(2) == 0x8E || byte(2) == 0x8F);
  const bool embedding = byte(1) == 0x80 && byte(2) >= 0xA8 && byte(2) <= 0xAE;
  const bool isolate = byte(1) == 0x81 && byte(2) >= 0xA6 && byte(2) <= 0xA9;
  return mark || embedding || isolate ? 3 : 0;
}

// The character that stands for a control character, or for a sequence that begins with `byte`.
std::uint32_t Replacement(unsigned char byte) {
  if (byte >= 0x80) return 0xFFFD;
  return byte == 0x7F ? 0x2421U : 0x2400U + byte;
}

bool NeedsCare(char unit) {
  const auto byte = static_cast<unsigned char>(unit);
  return byte < 0x20 || byte == 0x7F || byte == 0xC2 || byte == 0xD8 || byte == 0xE2;
}

}  // namespace

void AppendUtf8(std::u16string_view text, std::string& to) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    i += AppendAscii(text.substr(i), to);
    if (i == text.size()) return;
    const char16_t unit = text[i];
    if (IsHigh(unit) && i + 1 < text.size() && IsLow(text[i + 1])) {
      const auto low = static_cast<std::uint32_t>(text[++i] & 0x3FF);
      AppendCodePoint(0x10000 + (static_cast<std::uint32_t>(unit & 0x3FF) << 10) + low, to);
    } else {
      AppendCodePoint(IsHigh(unit) || IsLow(unit) ? char16_t{0xFFFD} : unit, to);
    }
  }
}

std::string Utf8(std::u16string_view text) {
  std::string result;
  result.reserve(text.size());
  AppendUtf8(text, result);
  return result;
}

void AppendPrintable(std::string_view text, std::string_view lineEnd, std::string& to) {
  std::size_t from = 0;
  for (std::size_t i = 0; i < text.size();) {
    if (!NeedsCare(text[i]) || text[i] == '\t') {
      ++i;
      continue;
    }
    const auto byte = static_cast<unsigned char>(text[i]);
    const std::size_t unsafe = byte < 0x80 ? 1 : UnsafeSequence(text.substr(i));
    if (unsafe == 0) {
      ++i;
      continue;
    }
    to.append(text, from, i - from);
    if (byte == '\n') {
      to += lineEnd;
    } else {
      AppendCodePoint(Replacement(byte), to);
    }
    i += unsafe;
    from = i;
  }
  to.append(text, from);
}

}  // namespace vtclass::joblog
