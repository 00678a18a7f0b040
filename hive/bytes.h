#ifndef VTCLASS_HIVE_BYTES_H
#define VTCLASS_HIVE_BYTES_H

#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace vtclass::hive {

using Bytes = std::span<const unsigned char>;

/* Where the hive's bins begin; offsets inside a hive count from there. */
inline constexpr std::size_t kBaseBlockBytes = 4096;
/* Bins are whole pages. */
inline constexpr std::size_t kPageBytes = 4096;
/* The offset that stands for "none". */
inline constexpr std::uint32_t kNoCell = 0xFFFFFFFF;

/* The number at that place, the lowest byte first, wherever the memory is aligned.
 * Requires: all of it lies in the bytes. */
template <typename Number>
Number Load(Bytes bytes, std::size_t at) {
  static_assert(std::endian::native == std::endian::little,
                "a hive's numbers are read as they are");
  assert(at <= bytes.size() && sizeof(Number) <= bytes.size() - at);
  Number number;
  std::memcpy(&number, bytes.data() + at, sizeof number);
  return number;
}

/* Whether a record begins with these two letters. */
inline bool HasSignature(Bytes record, const char (&letters)[3]) {
  return record.size() >= 2 && std::memcmp(record.data(), letters, 2) == 0;
}

}  // namespace vtclass::hive

#endif
