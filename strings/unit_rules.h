#ifndef VTCLASS_STRINGS_UNIT_RULES_H
#define VTCLASS_STRINGS_UNIT_RULES_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "strings/wide_text.h"

/*
 * What the rewritings of text do with each unit. Every scanner and every table is made from the
 * rules of this file, so they cannot drift apart.
 */
namespace vtclass::strings {

/* What one unit becomes. A row is 16 bytes, so that it is stored in one piece wherever there is
 * room for kRowUnits; `length` units of it count. */
struct UnitRow {
  WideUnit text[7];
  WideUnit length;
};
inline constexpr std::size_t kRowUnits = sizeof(UnitRow) / sizeof(WideUnit);
inline constexpr std::size_t kLongestRow = 6;

/* Rules have a row for each unit below this; the units above it are kept or dropped. */
inline constexpr std::size_t kRowCount = 0x100;
using UnitRows = std::array<UnitRow, kRowCount>;

constexpr bool IsPair(WideUnit high, WideUnit low) {
  return (high & 0xFC00) == 0xD800 && (low & 0xFC00) == 0xDC00;
}

constexpr UnitRow MakeRow(WideView text) {
  UnitRow row{};
  for (std::size_t i = 0; i < text.size(); ++i) row.text[i] = text[i];
  row.length = static_cast<WideUnit>(text.size());
  return row;
}

constexpr WideView XmlEntity(std::uint32_t unit) {
  switch (unit) {
    case '&':
      return VTCLASS_WIDE("&amp;");
    case '<':
      return VTCLASS_WIDE("&lt;");
    case '>':
      return VTCLASS_WIDE("&gt;");
    case '"':
      return VTCLASS_WIDE("&quot;");
    case '\'':
      return VTCLASS_WIDE("&apos;");
    default:
      return {};
  }
}

/* The filter of makeXmlStrBufferValid: drops what an XML document should not hold, and escapes. */
struct XmlFilterRule {
  static constexpr bool kKeepsPairs = false;
  static constexpr bool KeepsLow(std::uint32_t unit) {
    if (unit < 0x20) return unit == 0x09 || unit == 0x0A || unit == 0x0D;
    // The C1 controls go, but for the line end NEL.
    return unit < 0x7F || unit > 0x9F || unit == 0x85;
  }
  static constexpr bool KeepsHigh(std::uint32_t unit) {
    if (unit >= 0xD800 && unit <= 0xDFFF) return false;
    // Wider than the block of non-characters (U+FDD0 to U+FDEF), and it stays so: the public header
    // says why.
    if (unit >= 0xFD00 && unit <= 0xFDEF) return false;
    return unit <= 0xFFFD;
  }
  static constexpr WideView Entity(std::uint32_t unit) { return XmlEntity(unit); }

  /* An entity must leave one more unit free than an ordinary one. */
  static constexpr bool Fits(std::size_t written, std::size_t length, std::size_t room) {
    return length <= 1 ? written + length <= room : written + length < room;
  }
};

/* The job log's raw text: nothing is dropped, a line feed gets its carriage return. */
struct LineFeedRule {
  static constexpr bool kKeepsPairs = false;
  static constexpr bool KeepsLow(std::uint32_t) { return true; }
  static constexpr bool KeepsHigh(std::uint32_t) { return true; }
  static constexpr WideView Entity(std::uint32_t unit) {
    return unit == '\n' ? WideView(VTCLASS_WIDE("\r\n")) : WideView();
  }
  static constexpr bool Fits(std::size_t written, std::size_t length, std::size_t room) {
    return written + length <= room;
  }
};

/* The job log's escaping: the same, and what no XML document can hold is dropped. */
struct XmlEscapeRule : LineFeedRule {
  /* A surrogate stays where it has its partner, although a unit alone cannot tell. */
  static constexpr bool kKeepsPairs = true;
  static constexpr bool KeepsLow(std::uint32_t unit) {
    return unit >= 0x20 || unit == 0x09 || unit == 0x0A || unit == 0x0D;
  }
  static constexpr bool KeepsHigh(std::uint32_t unit) {
    return unit <= 0xFFFD && (unit < 0xD800 || unit > 0xDFFF);
  }
  static constexpr WideView Entity(std::uint32_t unit) {
    return unit == '\n' ? WideView(VTCLASS_WIDE("\r\n")) : XmlEntity(unit);
  }
};

/* No rewriting: its scan finds the end of a text. */
struct ZeroRule : LineFeedRule {
  static constexpr bool KeepsLow(std::uint32_t unit) { return unit != 0; }
  static constexpr WideView Entity(std::uint32_t) { return {}; }
};

/* True when a rewriting by `Rule` leaves the unit as it is, wherever it stands. */
template <typename Rule>
constexpr bool IsUnchanged(std::uint32_t unit) {
  if (unit >= kRowCount) return Rule::KeepsHigh(unit);
  return Rule::KeepsLow(unit) && Rule::Entity(unit).empty();
}

template <typename Rule>
constexpr UnitRows MakeRows() {
  UnitRows rows{};
  for (std::uint32_t unit = 0; unit < kRowCount; ++unit) {
    if (!Rule::KeepsLow(unit)) continue;
    const auto self = static_cast<WideUnit>(unit);
    const WideView entity = Rule::Entity(unit);
    rows[unit] = MakeRow(entity.empty() ? WideView(&self, 1) : entity);
  }
  return rows;
}

template <typename Rule>
alignas(sizeof(UnitRow)) inline constexpr UnitRows kRows = MakeRows<Rule>();

}  // namespace vtclass::strings

#endif
