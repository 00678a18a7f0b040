#ifndef VTCLASS_TOOLS_VTCTL_SHARED_VALUE_TEXT_H
#define VTCLASS_TOOLS_VTCTL_SHARED_VALUE_TEXT_H

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "strings/wide_text.h"

/* Registry data and the texts that stand for it. */
namespace vtctl {

/* Numbers: decimal or 0x..., the whole text, at most 32 bits. */
std::optional<std::uint32_t> ParseNumber(vtclass::WideView text);

/* Bytes: two hexadecimal digits each; blanks, commas, colons and hyphens between them are passed
 * over. Nothing when a digit is missing or anything else stands there. */
std::optional<std::vector<unsigned char>> ParseHex(vtclass::WideView text);

/* The text in the bytes of a string up to its first zero; an odd last byte is passed over. */
vtclass::WideText TextIn(std::span<const unsigned char> bytes);
/* The items in the bytes of a multi-string; empty ones do not count. */
std::vector<vtclass::WideText> ItemsIn(std::span<const unsigned char> bytes);

}  // namespace vtctl

#endif
