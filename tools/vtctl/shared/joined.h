#ifndef VTCLASS_TOOLS_VTCTL_SHARED_JOINED_H
#define VTCLASS_TOOLS_VTCTL_SHARED_JOINED_H

#include <string>
#include <string_view>
#include <vector>

namespace vtctl {

/* The texts in one, with `between` between each two. */
inline std::wstring Joined(const std::vector<std::wstring>& texts,
                           std::wstring_view between = L", ") {
  std::wstring joined;
  for (const std::wstring& text : texts) {
    if (&text != &texts.front()) joined += between;
    joined += text;
  }
  return joined;
}

}  // namespace vtctl

#endif
