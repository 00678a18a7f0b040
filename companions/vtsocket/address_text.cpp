#include "companions/vtsocket/address_text.h"

#include <algorithm>
#include <type_traits>

namespace vtclass::vtsocket {
namespace {

// The digit's value, or 16 and more for any other unit.
template <typename Unit>
constexpr unsigned HexDigit(Unit unit) {
  const unsigned code = static_cast<std::make_unsigned_t<Unit>>(unit);
  if (code - '0' <= 9) return code - '0';
  const unsigned letter = (code | 0x20) - 'a';
  return letter <= 5 ? letter + 10 : 16;
}

template <typename Unit>
bool TakeDot(const Unit*& at, const Unit* end) {
  if (at == end || *at != '.') return false;
  ++at;
  return true;
}

// Reads an IPv4 text from the front of [at, end) and moves `at` behind it.
template <typename Unit>
bool TakeIPv4(const Unit*& at, const Unit* end, std::uint8_t* bytes) {
  for (int part = 0; part < 4; ++part) {
    if (part > 0 && !TakeDot(at, end)) return false;
    unsigned number = at == end ? 10 : HexDigit(*at++);
    if (number > 9) return false;
    for (; at != end; ++at) {
      const unsigned digit = HexDigit(*at);
      if (digit > 9) break;
      if (number == 0) return false;
      number = number * 10 + digit;
      if (number > 255) return false;
    }
    bytes[part] = static_cast<std::uint8_t>(number);
  }
  return true;
}

// Reads what follows "%", which is the whole rest.
template <typename Unit>
bool TakeScope(const Unit* at, const Unit* end, std::uint32_t& scope) {
  if (at == end) return false;
  std::uint64_t number = 0;
  for (; at != end; ++at) {
    const unsigned digit = HexDigit(*at);
    if (digit > 9) return false;
    number = number * 10 + digit;
    if (number > UINT32_MAX) return false;
  }
  scope = static_cast<std::uint32_t>(number);
  return true;
}

// Collects the bytes of the groups, and where "::" stood among them.
class Groups {
 public:
  bool Add(unsigned group) {
    if (used > 14) return false;
    bytes[used++] = static_cast<std::uint8_t>(group >> 8);
    bytes[used++] = static_cast<std::uint8_t>(group);
    return true;
  }

  template <typename Unit>
  bool AddIPv4(const Unit*& at, const Unit* end) {
    if (used > 12 || !TakeIPv4(at, end, &bytes[used])) return false;
    used += 4;
    return true;
  }

  bool MarkGap() {
    if (gap <= used) return false;
    gap = used;
    return true;
  }

  // Puts the gap's zeros in place: what stands behind the gap moves to the end.
  bool Finish(std::array<std::uint8_t, 16>& result) {
    if (gap > used) {
      result = bytes;
      return used == 16;
    }
    const auto behind = bytes.begin() + static_cast<std::ptrdiff_t>(gap);
    const auto end = bytes.begin() + static_cast<std::ptrdiff_t>(used);
    result = {};
    std::copy_backward(behind, end, result.end());
    std::copy(bytes.begin(), behind, result.begin());
    return used < 16;
  }

 private:
  static constexpr std::size_t kNoGap = 99;
  std::array<std::uint8_t, 16> bytes{};
  std::size_t used = 0;
  std::size_t gap = kNoGap;
};

enum class Taken { nothing, group, ipv4 };

// Reads one group, or the IPv4 text that may stand in place of the last two.
template <typename Unit>
Taken TakeGroup(const Unit*& at, const Unit* end, Groups& groups) {
  const Unit* const start = at;
  unsigned group = 0;
  for (; at != end && at - start < 4; ++at) {
    const unsigned digit = HexDigit(*at);
    if (digit > 15) break;
    group = group << 4 | digit;
  }
  if (at == start) return Taken::nothing;
  if (at != end && *at == '.') {
    at = start;
    return groups.AddIPv4(at, end) ? Taken::ipv4 : Taken::nothing;
  }
  return groups.Add(group) ? Taken::group : Taken::nothing;
}

template <typename Unit>
bool TakeIPv6(const Unit* at, const Unit* end, AddressValue& address) {
  Groups groups;
  const auto atEnd = [&] { return at == end || *at == '%'; };
  if (end - at >= 2 && at[0] == ':' && at[1] == ':') {
    groups.MarkGap();
    at += 2;
  }
  while (!atEnd()) {
    const Taken taken = TakeGroup(at, end, groups);
    if (taken == Taken::nothing) return false;
    if (atEnd()) break;
    if (taken == Taken::ipv4 || *at++ != ':' || atEnd()) return false;
    if (*at == ':') {
      if (!groups.MarkGap()) return false;
      ++at;
    }
  }
  if (at != end && !TakeScope(at + 1, end, address.scope)) return false;
  return groups.Finish(address.bytes);
}

template <typename Unit>
std::optional<AddressValue> Parse(const Unit* text, std::size_t length) {
  AddressValue address;
  const Unit* const end = text + length;
  const Unit* at = text;
  if (TakeIPv4(at, end, address.bytes.data())) {
    if (at != end) return std::nullopt;
    return address;
  }
  address.isIPv6 = true;
  if (!TakeIPv6(text, end, address)) return std::nullopt;
  return address;
}

// Writes at the end of a text that has room for all that an address can need.
class Writer {
 public:
  explicit Writer(WideUnit* text) : text(text) {}

  void Put(char character) { text[used++] = static_cast<WideUnit>(character); }

  void PutNumber(std::uint32_t number, unsigned base) {
    char digits[10];
    int count = 0;
    do {
      digits[count++] = "0123456789abcdef"[number % base];
      number /= base;
    } while (number > 0);
    while (count > 0) Put(digits[--count]);
  }

  void PutIPv4(const std::uint8_t* bytes) {
    for (int part = 0; part < 4; ++part) {
      if (part > 0) Put('.');
      PutNumber(bytes[part], 10);
    }
  }

  std::size_t Finish() {
    text[used] = 0;
    return used;
  }

 private:
  WideUnit* text;
  std::size_t used = 0;
};

// True where the groups in front say that the last two are an IPv4 address.
bool EndsInIPv4(const AddressValue& address) {
  if (IsISATAP(address) || IsV4Mapped(address)) return true;
  for (std::size_t group = 0; group < 4; ++group)
    if (address.Group(group) != 0) return false;
  if (address.Group(4) == 0xFFFF && address.Group(5) == 0) return true;
  // An IPv4 address does not begin with 0.0, so "::5" stays a number.
  return address.Group(4) == 0 && address.Group(5) == 0 && address.Group(6) != 0;
}

struct Run {
  std::size_t start = 8;
  std::size_t length = 1;
};

// The first longest run of at least two zero groups among the first `count`.
Run LongestZeroRun(const AddressValue& address, std::size_t count) {
  Run longest;
  for (std::size_t group = 0; group < count; ++group) {
    const std::size_t start = group;
    while (group < count && address.Group(group) == 0) ++group;
    if (group - start > longest.length) longest = {start, group - start};
  }
  return longest;
}

void PutIPv6(Writer& writer, const AddressValue& address) {
  const bool mixed = EndsInIPv4(address);
  const std::size_t count = mixed ? 6 : 8;
  const Run zeros = LongestZeroRun(address, count);
  bool colon = false;
  for (std::size_t group = 0; group < count; ++group) {
    if (group == zeros.start) {
      writer.Put(':');
      writer.Put(':');
      colon = false;
      group += zeros.length - 1;
      continue;
    }
    if (colon) writer.Put(':');
    writer.PutNumber(address.Group(group), 16);
    colon = true;
  }
  if (!mixed) return;
  if (colon) writer.Put(':');
  writer.PutIPv4(&address.bytes[12]);
}

}  // namespace

std::optional<AddressValue> ParseAddress(WideView text) { return Parse(text.data(), text.size()); }

std::optional<AddressValue> ParseAddress(std::string_view text) {
  return Parse(text.data(), text.size());
}

std::size_t PrintAddress(const AddressValue& address, WideUnit (&text)[kAddressTextSize]) {
  Writer writer(text);
  if (address.isIPv6) {
    PutIPv6(writer, address);
  } else {
    writer.PutIPv4(address.bytes.data());
  }
  if (address.scope != 0) {
    writer.Put('%');
    writer.PutNumber(address.scope, 10);
  }
  return writer.Finish();
}

}  // namespace vtclass::vtsocket
