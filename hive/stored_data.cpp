#include "hive/stored_data.h"

#include <algorithm>

namespace vtclass::hive {

WideUnit StoredName::operator[](std::size_t at) const {
  if (isNarrow) return bytes[at];
  return static_cast<WideUnit>(Load<std::uint16_t>(bytes, at * sizeof(WideUnit)));
}

void StoredName::AppendTo(WideText& text) const {
  const std::size_t begin = text.size();
  text.resize(begin + Length());
  for (std::size_t at = 0; at < Length(); ++at) text[begin + at] = (*this)[at];
}

WideText StoredName::Text() const {
  WideText text;
  AppendTo(text);
  return text;
}

Bytes StoredData::Piece(std::size_t at) const {
  if (at >= size) return {};
  if (pieces.empty()) return whole.subspan(at);
  const std::size_t piece = at / kPieceBytes;
  const std::size_t inside = at % kPieceBytes;
  const std::size_t cell = Load<std::uint32_t>(pieces, piece * sizeof(std::uint32_t));
  return whole.subspan(cell + sizeof(std::uint32_t) + inside,
                       std::min(size - at, kPieceBytes - inside));
}

std::vector<unsigned char> StoredData::Copy() const {
  std::vector<unsigned char> bytes;
  bytes.reserve(size);
  while (bytes.size() < size) {
    const Bytes piece = Piece(bytes.size());
    bytes.insert(bytes.end(), piece.begin(), piece.end());
  }
  return bytes;
}

bool StoredData::operator==(const StoredData& other) const {
  if (size != other.size) return false;
  for (std::size_t at = 0; at < size;) {
    const Bytes ours = Piece(at);
    const Bytes theirs = other.Piece(at);
    const std::size_t length = std::min(ours.size(), theirs.size());
    if (std::memcmp(ours.data(), theirs.data(), length) != 0) return false;
    at += length;
  }
  return true;
}

}  // namespace vtclass::hive
