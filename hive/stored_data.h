#ifndef VTCLASS_HIVE_STORED_DATA_H
#define VTCLASS_HIVE_STORED_DATA_H

#include <cstddef>
#include <vector>

#include "hive/bytes.h"
#include "strings/wide_text.h"

namespace vtclass::hive {

/* A name as a hive holds it: characters of 16 bits, or their lower halves where that loses none.
 * Valid as long as the hive's bytes. */
struct StoredName {
  Bytes bytes;
  bool isNarrow = false;

  std::size_t Length() const { return isNarrow ? bytes.size() : bytes.size() / sizeof(WideUnit); }
  /* Requires: at < Length(). */
  WideUnit operator[](std::size_t at) const;
  void AppendTo(WideText& text) const;
  WideText Text() const;
};

/* What one piece of large data holds at most; all but the last are full. */
inline constexpr std::size_t kPieceBytes = 16344;

/* The data of a value, in one piece or in many, without a copy. Valid as long as the memory that it
 * was made of. */
class StoredData {
 public:
  StoredData() = default;
  explicit StoredData(Bytes whole) : whole(whole), size(whole.size()) {}
  /* The offset of each piece's cell stands in `pieces`. Requires: that each of them lies in the
   * bins and is long enough. */
  StoredData(Bytes bins, Bytes pieces, std::size_t size)
      : whole(bins), pieces(pieces), size(size) {}

  std::size_t Size() const { return size; }
  /* The bytes from there to the end of their piece; empty at the end. */
  Bytes Piece(std::size_t at) const;
  std::vector<unsigned char> Copy() const;

  bool operator==(const StoredData& other) const;

 private:
  Bytes whole; /* the data, or the bins in which its pieces lie */
  Bytes pieces;
  std::size_t size = 0;
};

}  // namespace vtclass::hive

#endif
