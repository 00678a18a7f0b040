#ifndef VTSOCKET_ADDRESS_TEXT_H
#define VTSOCKET_ADDRESS_TEXT_H

#include <cstddef>
#include <optional>
#include <string_view>

#include "companions/vtsocket/address_value.h"
#include "strings/wide_text.h"

namespace vtclass::vtsocket {

/*
 * The address that a text denotes, or nothing. Taken as a whole: nothing may stand before or behind
 * it, no blank, bracket, port or prefix length.
 *
 * IPv4: four decimal numbers of at most 255. A number has no leading zero, because the older
 * readers of such texts take it as octal, and the same text would denote two machines.
 * IPv6: the forms of RFC 4291 in either case. "::" stands for at least one group. The last two
 * groups may be an IPv4 text. A scope id may follow as "%" and a decimal number below 2^32; names
 * of interfaces are not taken, since they mean nothing on another machine.
 */
std::optional<AddressValue> ParseAddress(WideView text);
std::optional<AddressValue> ParseAddress(std::string_view text);

/* Eight groups, the last two as IPv4, and a scope id; with the terminating zero. */
inline constexpr std::size_t kAddressTextSize = 46 + 11;

/*
 * Writes the address as RFC 5952 asks: lower case, no leading zeros, the first longest run of two
 * or more zero groups as "::"; and the last two groups as IPv4 where the others say that they hold
 * one (mapped, compatible, translated, ISATAP), like the system's own texts. "%" and the scope id
 * follow unless it is 0. Terminates the text; returns its length.
 */
std::size_t PrintAddress(const AddressValue& address, WideUnit (&text)[kAddressTextSize]);

}  // namespace vtclass::vtsocket

#endif
