#include <array>
#include <bit>

#include "platform/cpu.h"
#include "strings/unit_rules.h"
#include "strings/unit_scan.h"

namespace vtclass::strings {

namespace {

constexpr std::size_t kBlock = 32;

// The bytes that a rule changes, as two tables that are looked up by the lower and the upper half
// of the byte: the byte is one of them when both entries share a bit. Each bit stands for one
// pattern of a row of sixteen bytes, so a rule may have eight patterns.
struct NibbleTables {
  std::array<std::uint8_t, 16> lower{};
  std::array<std::uint8_t, 16> upper{};
  bool isExact = true;
};

template <typename Rule>
constexpr NibbleTables MakeNibbleTables() {
  NibbleTables tables;
  std::array<std::uint32_t, 8> patterns{};
  std::size_t used = 0;
  for (std::uint32_t row = 0; row < 16; ++row) {
    std::uint32_t pattern = 0;
    for (std::uint32_t column = 0; column < 16; ++column) {
      if (!IsUnchanged<Rule>(row * 16 + column)) pattern |= 1u << column;
    }
    if (pattern == 0) continue;
    std::size_t bit = 0;
    while (bit < used && patterns[bit] != pattern) ++bit;
    if (bit == patterns.size()) {
      tables.isExact = false;
      break;
    }
    if (bit == used) patterns[used++] = pattern;
    const auto flag = static_cast<std::uint8_t>(1u << bit);
    tables.upper[row] |= flag;
    for (std::uint32_t column = 0; column < 16; ++column) {
      if (pattern >> column & 1) tables.lower[column] |= flag;
    }
  }
  return tables;
}

VTCLASS_TARGET("avx2") inline __m256i Load(const WideUnit* text) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text));
}

VTCLASS_TARGET("avx2") inline __m256i Unit(int value) {
  return _mm256_set1_epi16(static_cast<short>(value));
}

VTCLASS_TARGET("avx2") inline __m256i Table(const std::array<std::uint8_t, 16>& table) {
  return _mm256_broadcastsi128_si256(
      _mm_loadu_si128(reinterpret_cast<const __m128i*>(table.data())));
}

VTCLASS_TARGET("avx2") inline __m256i IsBetween(__m256i units, int low, int high) {
  return _mm256_cmpeq_epi16(_mm256_subs_epu16(_mm256_sub_epi16(units, Unit(low)), Unit(high - low)),
                            _mm256_setzero_si256());
}

template <typename Rule>
VTCLASS_TARGET("avx2")
inline __m256i IsChangedHigh(__m256i units) {
  const __m256i changed =
      _mm256_or_si256(IsBetween(units, 0xD800, 0xDFFF), IsBetween(units, 0xFFFE, 0xFFFF));
  if constexpr (Rule::KeepsHigh(0xFD00)) return changed;
  return _mm256_or_si256(changed, IsBetween(units, 0xFD00, 0xFDEF));
}

// One bit for each of 32 units that the rule changes. Packing works in halves of the register, so
// the bits are put in order at the end, and only when there are any.
template <typename Rule>
VTCLASS_TARGET("avx2")
inline unsigned Match(__m256i a, __m256i b, __m256i lower, __m256i upper) {
  const __m256i limit = Unit(0xFF);
  const __m256i bytes = _mm256_packus_epi16(_mm256_min_epu16(a, limit), _mm256_min_epu16(b, limit));
  const __m256i half = _mm256_set1_epi8(0x0F);
  const __m256i row = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), half);
  const __m256i common = _mm256_and_si256(_mm256_shuffle_epi8(lower, _mm256_and_si256(bytes, half)),
                                          _mm256_shuffle_epi8(upper, row));
  __m256i changed = common;
  if constexpr (!Rule::KeepsHigh(0xFFFF)) {
    // Nothing below the surrogates is changed.
    const __m256i high = _mm256_subs_epu16(_mm256_max_epu16(a, b), Unit(0xD7FF));
    if (!_mm256_testz_si256(high, high)) {
      changed = _mm256_or_si256(changed,
                                _mm256_packs_epi16(IsChangedHigh<Rule>(a), IsChangedHigh<Rule>(b)));
    }
  }
  if (_mm256_testz_si256(changed, changed)) return 0;
  const __m256i ordered = _mm256_permute4x64_epi64(changed, 0xD8);
  const __m256i unchanged = _mm256_cmpeq_epi8(ordered, _mm256_setzero_si256());
  return ~static_cast<unsigned>(_mm256_movemask_epi8(unchanged));
}

template <typename Rule>
VTCLASS_TARGET("avx2")
std::size_t ScanBlocks(const WideUnit* text, std::size_t length) {
  static constexpr NibbleTables kTables = MakeNibbleTables<Rule>();
  static_assert(kTables.isExact);
  const __m256i lower = Table(kTables.lower);
  const __m256i upper = Table(kTables.upper);
  std::size_t at = 0;
  for (;;) {
    const unsigned changed =
        Match<Rule>(Load(text + at), Load(text + at + kBlock / 2), lower, upper);
    if (changed != 0) return at + static_cast<std::size_t>(std::countr_zero(changed));
    if (at + kBlock == length) return length;
    // The last block overlaps the one before it: what it sees again is known to be unchanged.
    at = at + 2 * kBlock <= length ? at + kBlock : length - kBlock;
  }
}

// Texts too short for a block are left to the narrower twin.
template <typename Rule, ScanFunction UnitScan::* Narrow>
std::size_t Scan(const WideUnit* text, std::size_t length) {
  return length < kBlock ? (kSse2Scan.*Narrow)(text, length) : ScanBlocks<Rule>(text, length);
}

}  // namespace

const UnitScan kAvx2Scan = {
    &Scan<XmlFilterRule, &UnitScan::xmlFilter>, &Scan<XmlEscapeRule, &UnitScan::xmlEscape>,
    &Scan<LineFeedRule, &UnitScan::lineFeed>, &Scan<ZeroRule, &UnitScan::zero>};

}  // namespace vtclass::strings
