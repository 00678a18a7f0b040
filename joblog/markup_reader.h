#ifndef VTCLASS_JOBLOG_MARKUP_READER_H
#define VTCLASS_JOBLOG_MARKUP_READER_H

#include <cstddef>
#include <string>
#include <string_view>

#include "joblog/log_event.h"
#include "joblog/text_blocks.h"

namespace vtclass::joblog {

enum class TokenKind {
  kSection,     /* a section of the file begins */
  kDeclaration, /* <?xml ... ?> */
  kStartTag,
  kEmptyTag,
  kEndTag,
  kText,     /* a piece of text with its entities resolved, never across a line end */
  kLineEnd,  /* line feed, with the carriage return before it */
  kCutTag,   /* the section ends inside a tag */
  kHalfUnit, /* the section ends inside a character */
  kEnd
};

/* The views stay valid until the next call of Next. */
struct Token {
  TokenKind kind = TokenKind::kEnd;
  Position at;
  std::u16string_view text;   /* kText: the text; tags: the name; kCutTag: what is there of it */
  std::u16string_view type;   /* tags: the first attribute's value */
  std::u16string_view detail; /* the second one's */
};

/*
 * Splits a job log into tags and text in one pass with bounded memory. Only what has the exact
 * shape of a tag is one; every other "<" is text, because raw texts hold it, and so is an "&" that
 * begins no entity.
 */
class MarkupReader {
 public:
  explicit MarkupReader(ReadBytes read, std::size_t blockBytes = kBlockBytes);

  const Token& Next();

  /* The next units of the section, at most about 64 thousand, without taking them. */
  std::u16string_view Peek();

  const TextBlocks& Section() const { return blocks; }

 private:
  bool Need(std::size_t count);
  void Take(std::size_t count, TokenKind kind);
  const Token& TakeSectionEnd();
  bool TakeTag();
  bool TakeDeclaration();
  void TakeEntity();
  void TakeText();
  void TakeLineEnd(std::size_t count);
  std::u16string_view Rest() const { return std::u16string_view(units).substr(next); }

  TextBlocks blocks;
  std::u16string units;
  std::size_t next = 0;
  bool sectionOpen = false;
  bool sectionRead = false; /* all of the section is in `units` */
  bool halfUnitTold = false;
  Position at;
  std::u16string entity;
  Token token;
};

}  // namespace vtclass::joblog

#endif
