#ifndef VTCLASS_JOBLOG_TEXT_BLOCKS_H
#define VTCLASS_JOBLOG_TEXT_BLOCKS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "joblog/log_event.h"

namespace vtclass::joblog {

/* Reads up to `room` bytes and returns how many; 0 at the end of the file. */
using ReadBytes = std::function<std::size_t(char* to, std::size_t room)>;

/* How much of a file is held at a time; at least kLeastBlockBytes, by which an encoding is told. */
inline constexpr std::size_t kBlockBytes = 131'072;
inline constexpr std::size_t kLeastBlockBytes = 4096;

/*
 * Decodes a job log to UTF-16, block by block. The file falls into sections: one begins at each XML
 * header, and what stands before the first header is a section too. Every section has its encoding
 * and alignment of its own, because a log that lost half a character in a crash, or was written in
 * ANSI, may be appended to in UTF-16. The header is looked for in the bytes: a message cannot hold
 * it, since its "<" is escaped, and one whose bytes only spell it is told by what follows.
 */
class TextBlocks {
 public:
  explicit TextBlocks(ReadBytes readBytes, std::size_t blockBytes = kBlockBytes);

  /* Goes to the next section; false at the end of the file. The first call is for the first. */
  bool NextSection();

  /* Appends the next units of the section; false, and nothing appended, when it is over. */
  bool Append(std::u16string& units);

  Encoding SectionEncoding() const { return encoding; }
  /* Where the section's text begins, behind a byte-order mark. */
  std::uint64_t SectionOffset() const { return sectionOffset; }
  bool SectionHasHeader() const { return hasHeader; }
  bool SectionEndsInHalfUnit() const { return halfUnit; }

 private:
  void Fill();
  void BeginFile();
  std::size_t FindHeader(std::size_t from);
  bool CanBeJudged(std::size_t header) const;
  bool IsForged(std::size_t header) const;
  std::size_t ProofBytes() const;
  void Decode(std::size_t count, std::u16string& units);

  ReadBytes read;
  std::vector<char> bytes;
  std::size_t begin = 0; /* the first byte that is not decoded yet */
  std::size_t end = 0;
  std::uint64_t beginOffset = 0; /* the offset of `begin` in the file */
  bool endOfFile = false;
  bool started = false;
  bool sectionOver = true;
  std::size_t skipHeader = 0; /* so many bytes at `begin` belong to the section's own header */
  Encoding encoding = Encoding::kUtf16;
  std::uint64_t sectionOffset = 0;
  bool hasHeader = false;
  bool halfUnit = false;
};

/* The character of a byte in code page 1252. Its five unused bytes stand for the control characters
 * of the same number, as the system's own conversion has it. */
char16_t FromWindows1252(unsigned char byte);

}  // namespace vtclass::joblog

#endif
