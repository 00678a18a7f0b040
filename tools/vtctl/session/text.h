#ifndef VTCLASS_TOOLS_VTCTL_SESSION_TEXT_H
#define VTCLASS_TOOLS_VTCTL_SESSION_TEXT_H

#include <string>
#include <string_view>
#include <vector>

namespace vtctl {

/* A message with its arguments in the places of %s and %u, in order. "%%" is a per cent sign; a
 * place without an argument stays as it is. */
std::wstring Format(std::wstring_view message, const std::vector<std::wstring>& arguments);

/* The file name's extension with its dot, in lower case; empty when there is none, when the dot is
 * the first or the last character, or when a blank or its length shows that it is none. */
std::wstring ExtensionOf(std::wstring_view fileName);

}  // namespace vtctl

#endif
