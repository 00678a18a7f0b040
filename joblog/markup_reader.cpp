#include "joblog/markup_reader.h"

#include <algorithm>
#include <utility>

#include "joblog/tag_syntax.h"

namespace vtclass::joblog {
namespace {

// What is taken goes from the buffer when so much of it has gathered.
constexpr std::size_t kCompactUnits = 65'536;

bool EndsText(char16_t unit) {
  return unit == u'<' || unit == u'&' || unit == u'\n' || unit == u'\r';
}

}  // namespace

MarkupReader::MarkupReader(ReadBytes read, std::size_t blockBytes)
    : blocks(std::move(read), blockBytes) {}

// True when `count` units are there; false near the end of the section.
bool MarkupReader::Need(std::size_t count) {
  if (units.size() - next >= count) return true;
  if (next >= kCompactUnits) {
    units.erase(0, next);
    next = 0;
  }
  while (!sectionRead && units.size() - next < count) sectionRead = !blocks.Append(units);
  return units.size() - next >= count;
}

std::u16string_view MarkupReader::Peek() {
  Need(kCompactUnits);
  return Rest().substr(0, kCompactUnits);
}

void MarkupReader::Take(std::size_t count, TokenKind kind) {
  token.kind = kind;
  next += count;
  at.offset += count * (blocks.SectionEncoding() == Encoding::kUtf16 ? 2 : 1);
  at.column += count;
}

const Token& MarkupReader::TakeSectionEnd() {
  if (sectionOpen && blocks.SectionEndsInHalfUnit() && !halfUnitTold) {
    halfUnitTold = true;
    token.kind = TokenKind::kHalfUnit;
    return token;
  }
  units.clear();
  next = 0;
  sectionOpen = blocks.NextSection();
  if (!sectionOpen) {
    token.kind = TokenKind::kEnd;
    return token;
  }
  halfUnitTold = false;
  sectionRead = false;
  at.offset = blocks.SectionOffset();
  token.at = at;
  token.kind = TokenKind::kSection;
  return token;
}

const Token& MarkupReader::Next() {
  token = Token();
  token.at = at;
  if (!sectionOpen || !Need(1)) return TakeSectionEnd();
  switch (units[next]) {
    case u'<':
      Need(kMaxTagUnits);
      if (!TakeDeclaration() && !TakeTag()) TakeText();
      break;
    case u'&':
      Need(kMaxEntityUnits + 1);
      TakeEntity();
      break;
    case u'\n':
      TakeLineEnd(1);
      break;
    case u'\r':
      if (Need(2) && units[next + 1] == u'\n') {
        TakeLineEnd(2);
      } else {
        TakeText();
      }
      break;
    default:
      TakeText();
  }
  return token;
}

void MarkupReader::TakeLineEnd(std::size_t count) {
  Take(count, TokenKind::kLineEnd);
  ++at.line;
  at.column = 1;
}

// Takes the first unit whatever it is: nothing else has claimed it.
void MarkupReader::TakeText() {
  const std::u16string_view rest = Rest();
  const auto end = std::find_if(rest.begin() + 1, rest.end(), EndsText);
  token.text = rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
  Take(token.text.size(), TokenKind::kText);
}

void MarkupReader::TakeEntity() {
  entity.clear();
  const std::size_t length = ParseEntity(Rest(), entity);
  if (length == 0) {
    TakeText();
    return;
  }
  Take(length, TokenKind::kText);
  token.text = entity;
}

bool MarkupReader::TakeDeclaration() {
  const std::u16string_view rest = Rest().substr(0, kMaxTagUnits);
  if (!rest.starts_with(u"<?xml")) return false;
  const std::size_t end = rest.find(u"?>");
  if (end == std::u16string_view::npos) {
    if (rest.size() == kMaxTagUnits) return false;
    Take(rest.size(), TokenKind::kCutTag);
    return true;
  }
  Take(end + 2, TokenKind::kDeclaration);
  return true;
}

bool MarkupReader::TakeTag() {
  const std::u16string_view rest = Rest();
  const Tag tag = ParseTag(rest);
  if (tag.kind == Tag::Kind::kNone) return false;
  if (tag.kind == Tag::Kind::kCut) {
    token.text = rest;
    Take(rest.size(), TokenKind::kCutTag);
    return true;
  }
  token.text = tag.name;
  token.type = tag.type;
  token.detail = tag.detail;
  TokenKind kind = TokenKind::kEndTag;
  if (tag.kind == Tag::Kind::kStart) kind = TokenKind::kStartTag;
  if (tag.kind == Tag::Kind::kEmpty) kind = TokenKind::kEmptyTag;
  Take(tag.length, kind);
  return true;
}

}  // namespace vtclass::joblog
