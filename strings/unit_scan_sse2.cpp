#include <emmintrin.h>

#include <bit>

#include "strings/unit_rules.h"
#include "strings/unit_scan.h"

namespace vtclass::strings {

namespace {

constexpr std::size_t kBlock = 16;

__m128i Load(const WideUnit* text) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
}

__m128i Byte(int value) { return _mm_set1_epi8(static_cast<char>(value)); }
__m128i Unit(int value) { return _mm_set1_epi16(static_cast<short>(value)); }
__m128i Or(__m128i a, __m128i b) { return _mm_or_si128(a, b); }
__m128i IsByte(__m128i bytes, int value) { return _mm_cmpeq_epi8(bytes, Byte(value)); }
unsigned Bits(__m128i bytes) { return static_cast<unsigned>(_mm_movemask_epi8(bytes)); }

// Two vectors of units as bytes. With saturation 0x100 to 0x7FFF become 0xFF and everything above
// becomes 0; Clamp makes 0xFF of that too.
__m128i Pack(__m128i a, __m128i b) { return _mm_packus_epi16(a, b); }
__m128i Clamp(__m128i units) { return _mm_sub_epi16(units, _mm_subs_epu16(units, Unit(0xFF))); }

// & < > " '
__m128i IsMarkup(__m128i bytes) {
  const __m128i angle = IsByte(Or(bytes, Byte(0x02)), 0x3E);
  const __m128i ampersandOrApostrophe = IsByte(Or(bytes, Byte(0x01)), 0x27);
  return Or(Or(angle, ampersandOrApostrophe), IsByte(bytes, 0x22));
}

// 00 to 1F, 7F and 80 to 9F: a superset of the controls that go.
__m128i IsControl(__m128i bytes) {
  const __m128i row = _mm_and_si128(bytes, Byte(0x60));
  return Or(_mm_cmpeq_epi8(row, _mm_setzero_si128()), IsByte(bytes, 0x7F));
}

__m128i IsBelowBlank(__m128i bytes) {
  return _mm_cmpeq_epi8(_mm_subs_epu8(bytes, Byte(0x1F)), _mm_setzero_si128());
}

__m128i IsKeptControl(__m128i bytes) {
  return Or(Or(IsByte(bytes, 0x09), IsByte(bytes, 0x0A)),
            Or(IsByte(bytes, 0x0D), IsByte(bytes, 0x85)));
}

__m128i IsBetween(__m128i units, int low, int high) {
  const __m128i beyond = _mm_subs_epu16(_mm_sub_epi16(units, Unit(low)), Unit(high - low));
  return _mm_cmpeq_epi16(beyond, _mm_setzero_si128());
}

__m128i IsSurrogateOrNoCharacter(__m128i units) {
  return Or(IsBetween(units, 0xD800, 0xDFFF), IsBetween(units, 0xFFFE, 0xFFFF));
}

__m128i IsDroppedHigh(__m128i units) {
  return Or(IsSurrogateOrNoCharacter(units), IsBetween(units, 0xFD00, 0xFDEF));
}

// Each matcher answers with one bit for each of the 16 units that its rule changes.
struct XmlFilterMatcher {
  using Rule = XmlFilterRule;
  static unsigned Match(__m128i a, __m128i b) {
    const __m128i rough = Pack(a, b);
    // Plain text ends here. Line ends and units from 0x8000 on look like controls so far.
    if (Bits(Or(IsControl(rough), IsMarkup(rough))) == 0) return 0;
    const __m128i bytes = Pack(Clamp(a), Clamp(b));
    const __m128i low =
        Or(_mm_andnot_si128(IsKeptControl(bytes), IsControl(bytes)), IsMarkup(bytes));
    return Bits(Or(low, _mm_packs_epi16(IsDroppedHigh(a), IsDroppedHigh(b))));
  }
};

struct XmlEscapeMatcher {
  using Rule = XmlEscapeRule;
  static unsigned Match(__m128i a, __m128i b) {
    const __m128i rough = Pack(a, b);
    // Plain text ends here. Tabs and units from 0x8000 on look like controls so far.
    if (Bits(Or(IsBelowBlank(rough), IsMarkup(rough))) == 0) return 0;
    const __m128i bytes = Pack(Clamp(a), Clamp(b));
    const __m128i kept = Or(IsByte(bytes, '\t'), IsByte(bytes, '\r'));
    const __m128i low = Or(_mm_andnot_si128(kept, IsBelowBlank(bytes)), IsMarkup(bytes));
    const __m128i high = _mm_packs_epi16(IsSurrogateOrNoCharacter(a), IsSurrogateOrNoCharacter(b));
    return Bits(Or(low, high));
  }
};

struct LineFeedMatcher {
  using Rule = LineFeedRule;
  static unsigned Match(__m128i a, __m128i b) { return Bits(IsByte(Pack(a, b), '\n')); }
};

struct ZeroMatcher {
  using Rule = ZeroRule;
  static unsigned Match(__m128i a, __m128i b) {
    const __m128i zero = _mm_setzero_si128();
    return Bits(_mm_packs_epi16(_mm_cmpeq_epi16(a, zero), _mm_cmpeq_epi16(b, zero)));
  }
};

template <typename Matcher>
std::size_t Scan(const WideUnit* text, std::size_t length) {
  std::size_t at = 0;
  if (length >= kBlock) {
    for (;;) {
      const unsigned changed = Matcher::Match(Load(text + at), Load(text + at + kBlock / 2));
      if (changed != 0) return at + static_cast<std::size_t>(std::countr_zero(changed));
      if (at + kBlock == length) return length;
      // The last block overlaps the one before it: what it sees again is known to be unchanged.
      at = at + 2 * kBlock <= length ? at + kBlock : length - kBlock;
    }
  }
  while (at < length && IsUnchanged<typename Matcher::Rule>(text[at])) ++at;
  return at;
}

}  // namespace

const UnitScan kSse2Scan = {&Scan<XmlFilterMatcher>, &Scan<XmlEscapeMatcher>,
                            &Scan<LineFeedMatcher>, &Scan<ZeroMatcher>};

}  // namespace vtclass::strings
