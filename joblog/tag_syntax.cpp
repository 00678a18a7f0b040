#include "joblog/tag_syntax.h"

#include <algorithm>
#include <cstdint>

namespace vtclass::joblog {
namespace {

bool IsBlank(char16_t unit) { return unit == u' ' || unit == u'\t'; }

bool IsNameStart(char16_t unit) {
  const auto lower = static_cast<char16_t>(unit | 0x20);
  return (lower >= u'a' && lower <= u'z') || unit == u'_';
}

bool IsNameUnit(char16_t unit) {
  return IsNameStart(unit) || (unit >= u'0' && unit <= u'9') || unit == u'-' || unit == u'.' ||
         unit == u':';
}

// Walks over a tag. Every step answers false when the text is no tag, and remembers when it only
// ended too early.
class TagCursor {
 public:
  explicit TagCursor(std::u16string_view tagText) : text(tagText) {}

  bool Skip(char16_t unit) {
    if (AtEnd() || text[at] != unit) return false;
    ++at;
    return true;
  }
  void SkipBlanks() {
    while (at < text.size() && IsBlank(text[at])) ++at;
  }
  bool ReadName(std::u16string_view& name) {
    const std::size_t from = at;
    if (AtEnd() || !IsNameStart(text[at])) return false;
    while (at < text.size() && IsNameUnit(text[at])) ++at;
    name = text.substr(from, at - from);
    return !AtEnd() && name.size() <= kMaxNameUnits;
  }
  // A value is written as it is, so it may hold quotes: the closing one is followed by what can
  // follow a value.
  bool ReadValue(std::u16string_view& value) {
    if (!Skip(u'"')) return false;
    for (const std::size_t from = at; !AtEnd(); ++at) {
      if (text[at] == u'\n' || text[at] == u'\r') return false;
      if (text[at] != u'"') continue;
      if (at + 1 == text.size()) break;
      const char16_t after = text[at + 1];
      if (IsBlank(after) || after == u'>' || after == u'/') {
        value = text.substr(from, at - from);
        ++at;
        return true;
      }
    }
    cut = true;
    return false;
  }
  bool AtEnd() {
    if (at < text.size()) return false;
    cut = true;
    return true;
  }
  bool IsCut() const { return cut; }
  std::size_t Offset() const { return at; }

 private:
  std::u16string_view text;
  std::size_t at = 1;
  bool cut = false;
};

bool ReadAttributes(TagCursor& cursor, Tag& tag) {
  int count = 0;
  for (;;) {
    cursor.SkipBlanks();
    if (cursor.Skip(u'>')) {
      tag.kind = Tag::Kind::kStart;
      return true;
    }
    if (cursor.Skip(u'/')) {
      tag.kind = Tag::Kind::kEmpty;
      return cursor.Skip(u'>');
    }
    std::u16string_view name, value;
    if (!cursor.ReadName(name) || !cursor.Skip(u'=') || !cursor.ReadValue(value)) return false;
    if (count == 0) tag.type = value;
    if (count == 1) tag.detail = value;
    ++count;
  }
}

bool ReadTag(TagCursor& cursor, Tag& tag) {
  if (!cursor.Skip(u'/')) return cursor.ReadName(tag.name) && ReadAttributes(cursor, tag);
  tag.kind = Tag::Kind::kEnd;
  if (!cursor.ReadName(tag.name)) return false;
  cursor.SkipBlanks();
  return cursor.Skip(u'>');
}

struct NamedEntity {
  std::u16string_view name;
  char16_t unit;
};

constexpr NamedEntity kEntities[] = {
    {u"amp;", u'&'}, {u"lt;", u'<'}, {u"gt;", u'>'}, {u"apos;", u'\''}, {u"quot;", u'"'}};

void AppendCodePoint(std::uint32_t code, std::u16string& to) {
  if (code >= 0x10000) {
    to += static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
    code = 0xDC00 + ((code - 0x10000) & 0x3FF);
  }
  to += static_cast<char16_t>(code);
}

// The digits between "&#" or "&#x" and ";".
bool ParseNumber(std::u16string_view digits, std::uint32_t base, std::uint32_t& code) {
  code = 0;
  for (const char16_t unit : digits) {
    const auto lower = static_cast<char16_t>(unit | 0x20);
    std::uint32_t digit = base;
    if (unit >= u'0' && unit <= u'9') digit = static_cast<std::uint32_t>(unit - u'0');
    if (lower >= u'a' && lower <= u'f') digit = static_cast<std::uint32_t>(lower - u'a' + 10);
    if (digit >= base) return false;
    code = code * base + digit;
    if (code > 0x10FFFF) return false;
  }
  return !digits.empty() && code != 0;
}

}  // namespace

Tag ParseTag(std::u16string_view text) {
  Tag tag;
  TagCursor cursor(text.substr(0, kMaxTagUnits));
  if (ReadTag(cursor, tag)) {
    tag.length = cursor.Offset();
    return tag;
  }
  const bool cut = cursor.IsCut() && text.size() < kMaxTagUnits;
  tag.kind = cut ? Tag::Kind::kCut : Tag::Kind::kNone;
  return tag;
}

std::size_t ParseEntity(std::u16string_view text, std::u16string& to) {
  text = text.substr(1, kMaxEntityUnits);
  for (const NamedEntity& entity : kEntities) {
    if (!text.starts_with(entity.name)) continue;
    to += entity.unit;
    return entity.name.size() + 1;
  }
  const std::size_t end = text.find(u';');
  if (end == std::u16string_view::npos || !text.starts_with(u'#')) return 0;
  const bool hex = text.starts_with(u"#x");
  const std::size_t from = hex ? 2 : 1;
  std::uint32_t code = 0;
  if (end < from || !ParseNumber(text.substr(from, end - from), hex ? 16 : 10, code)) return 0;
  AppendCodePoint(code, to);
  return end + 2;
}

}  // namespace vtclass::joblog
