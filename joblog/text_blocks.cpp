#include "joblog/text_blocks.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

namespace vtclass::joblog {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kAnsiHeader = "<?xml version="sv;
constexpr std::string_view kUtf16Header = "<\0?\0x\0m\0l\0 \0v\0e\0r\0s\0i\0o\0n\0=\0"sv;
constexpr std::string_view kByteOrderMark = "\xFF\xFE"sv;
constexpr std::string_view kWrapMark = "This file has wrapped."sv;
constexpr std::size_t kNotFound = static_cast<std::size_t>(-1);
// How much behind a header is looked at for whether it is one: more than a name has.
constexpr std::size_t kProofBytes = 4096;
constexpr std::size_t kAnsiProofBytes = 1024;
constexpr std::size_t kTailBytes = 128;

// Code page 1252 differs from Latin-1 in this row alone.
constexpr char16_t kFrom80To9F[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// How a text without header and byte-order mark is to be read: ANSI has no zero bytes, UTF-16 has
// one in each of the many ASCII characters of the tags. Where they stand tells the alignment.
struct Guess {
  Encoding encoding;
  std::size_t skip;
};

Guess GuessEncoding(std::string_view bytes) {
  if (bytes.starts_with(kWrapMark)) return {Encoding::kAnsi, 0};
  bytes = bytes.substr(0, kLeastBlockBytes);
  std::size_t zeros[2] = {0, 0};
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (bytes[i] == '\0') ++zeros[i % 2];
  }
  if (zeros[0] + zeros[1] < (bytes.size() + 31) / 32) return {Encoding::kAnsi, 0};
  return {Encoding::kUtf16, zeros[0] > zeros[1] ? 1U : 0U};
}

// How many units from there on, every second byte, are ASCII.
std::size_t AsciiUnits(std::string_view bytes) {
  std::size_t count = 0;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    if (bytes[i] >= ' ' && bytes[i] <= '~' && bytes[i + 1] == '\0') ++count;
  }
  return count;
}

}  // namespace

char16_t FromWindows1252(unsigned char byte) {
  return byte >= 0x80 && byte < 0xA0 ? kFrom80To9F[byte - 0x80] : char16_t{byte};
}

TextBlocks::TextBlocks(ReadBytes readBytes, std::size_t blockBytes)
    : read(std::move(readBytes)), bytes(blockBytes) {}

void TextBlocks::Fill() {
  if (endOfFile) return;
  std::memmove(bytes.data(), bytes.data() + begin, end - begin);
  end -= begin;
  begin = 0;
  while (end < bytes.size()) {
    const std::size_t count = read(bytes.data() + end, bytes.size() - end);
    if (count == 0) {
      endOfFile = true;
      return;
    }
    end += count;
  }
}

void TextBlocks::BeginFile() {
  Fill();
  const std::string_view text(bytes.data(), end);
  if (text.starts_with(kByteOrderMark)) {
    encoding = Encoding::kUtf16;
    begin = 2;
    hasHeader = text.substr(2).starts_with(kUtf16Header);
  } else if (text.starts_with(kUtf16Header) || text.starts_with(kAnsiHeader)) {
    encoding = text[1] == '\0' ? Encoding::kUtf16 : Encoding::kAnsi;
    hasHeader = true;
  } else {
    const Guess guess = GuessEncoding(text);
    encoding = guess.encoding;
    begin = guess.skip;
  }
  beginOffset = begin;
  sectionOffset = begin;
  skipHeader = hasHeader ? kAnsiHeader.size() : 0;
}

bool TextBlocks::NextSection() {
  halfUnit = false;
  if (!started) {
    started = true;
    BeginFile();
    sectionOver = false;
    return end > 0;
  }
  std::u16string rest;
  while (!sectionOver) {
    Append(rest);
    rest.clear();
  }
  if (begin == end && endOfFile) return false;
  // The section before ended at a header.
  encoding = bytes[begin + 1] == '\0' ? Encoding::kUtf16 : Encoding::kAnsi;
  sectionOffset = beginOffset;
  hasHeader = true;
  skipHeader = kAnsiHeader.size();
  halfUnit = false;
  sectionOver = false;
  return true;
}

// A name in UTF-16 can be chosen so that its bytes, one off or read as ANSI, spell a header. What
// follows tells: behind the name the text goes on as it was before, with ASCII in its tags.
bool TextBlocks::IsForged(std::size_t header) const {
  const bool isAnsi = bytes[header + 1] != '\0';
  if (encoding == Encoding::kAnsi || (!isAnsi && (header - begin) % 2 == 0)) return false;
  const std::string_view rest = std::string_view(bytes.data(), end).substr(header);
  if (isAnsi) return rest.substr(0, kAnsiProofBytes).find('\0') != std::string_view::npos;
  const std::string_view proof = rest.substr(0, ProofBytes());
  const std::size_t tail = (proof.size() - std::min(proof.size(), kTailBytes)) / 2 * 2;
  return AsciiUnits(proof.substr(tail)) <= AsciiUnits(proof.substr(tail + 1));
}

std::size_t TextBlocks::ProofBytes() const { return std::min(kProofBytes, bytes.size() / 4); }

// What is too near to the buffer's end is judged when more is there.
bool TextBlocks::CanBeJudged(std::size_t header) const {
  return endOfFile || end - header >= ProofBytes();
}

// The first header at or behind `from` that lies in the buffer as a whole. A question mark is much
// rarer in a log than "<".
std::size_t TextBlocks::FindHeader(std::size_t from) {
  const std::string_view text(bytes.data(), end);
  for (std::size_t i = from; i < end;) {
    const void* found = std::memchr(text.data() + i, '?', end - i);
    if (!found) break;
    i = static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
    for (const std::string_view header : {kAnsiHeader, kUtf16Header}) {
      const std::size_t before = header.find('?');
      if (i < from + before || !text.substr(i - before).starts_with(header)) continue;
      const std::size_t at = i - before;
      if (!CanBeJudged(at) || !IsForged(at)) return at;
    }
    ++i;
  }
  return kNotFound;
}

void TextBlocks::Decode(std::size_t count, std::u16string& units) {
  const std::size_t old = units.size();
  const char* from = bytes.data() + begin;
  if (encoding == Encoding::kUtf16) {
    // Every system that this runs on is little-endian, as the file is.
    units.resize(old + count / 2);
    std::memcpy(units.data() + old, from, count / 2 * 2);
  } else {
    units.resize(old + count);
    for (std::size_t i = 0; i < count; ++i) {
      units[old + i] = FromWindows1252(static_cast<unsigned char>(from[i]));
    }
  }
  begin += count;
  beginOffset += count;
}

bool TextBlocks::Append(std::u16string& units) {
  if (sectionOver) return false;
  if (end - begin < bytes.size() / 2) Fill();
  const std::size_t header = FindHeader(begin + std::min(skipHeader, end - begin));
  std::size_t count = end - begin;
  if (header != kNotFound) {
    count = header - begin;
    sectionOver = CanBeJudged(header);
  } else if (endOfFile) {
    sectionOver = true;
  } else {
    // A header may begin in the last bytes. The buffer is full here, so something is left.
    count -= kUtf16Header.size();
  }
  skipHeader -= std::min(skipHeader, count);
  if (encoding == Encoding::kUtf16 && count % 2 != 0) {
    if (!sectionOver) {
      --count;
    } else {
      halfUnit = true;
    }
  }
  const std::size_t before = units.size();
  Decode(count, units);
  return units.size() > before;
}

}  // namespace vtclass::joblog
