#ifndef VTCLASS_TOOLS_VTCTL_SESSION_TEXT_H
#define VTCLASS_TOOLS_VTCTL_SESSION_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vtctl {

/*
 * A name or path as it may stand in a job log and on a screen. What XML 1.0 forbids (surrogates
 * without their other half, U+FFFE, U+FFFF) and control characters, which would break a line or
 * speak to the terminal, become U+FFFD, so that the reader sees that something stood there. The
 * job log escapes its markup itself; nothing is escaped here.
 */
std::wstring Printable(std::wstring_view name);

/* A message with its arguments in the places of %s and %u, in order. "%%" is a per cent sign; a
 * place without an argument stays as it is. */
std::wstring Format(std::wstring_view message, const std::vector<std::wstring>& arguments);

/* How the reader's language writes numbers. */
struct NumberStyle {
  std::wstring group = L",";
  std::wstring decimal = L".";
};

std::wstring Grouped(uint64_t number, const NumberStyle& style);        /* "1,234,567" */
std::wstring WithUnit(uint64_t bytes, const NumberStyle& style);        /* "1.2 MB", "17 B" */
std::wstring Duration(uint64_t milliseconds, const NumberStyle& style); /* "0:01:12.3" */

/* The file name's extension with its dot, in lower case; empty when there is none, when the dot is
 * the first or the last character, or when it is too long to be one. */
std::wstring ExtensionOf(std::wstring_view fileName);

}  // namespace vtctl

#endif
