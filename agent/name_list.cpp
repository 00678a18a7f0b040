#include "agent/name_list.h"

#include <algorithm>

#include "config/multi_string.h"
#include "vtclass/strings.h"

namespace vtclass::agent {

namespace {

// Most names of a long list are told apart by one character, which alone is worth a comparison.
bool IsSame(wchar_t a, wchar_t b) { return a == b || ::comparei(a, b) == 0; }

}  // namespace

bool TakeOut(std::wstring_view stored, std::wstring_view name, std::wstring& others) {
  bool found = false;
  others.clear();
  others.reserve(stored.size() + name.size() + 3);
  for (std::wstring_view item; config::NextItem(stored, item);) {
    if (!found && item.size() == name.size() && std::ranges::equal(item, name, &IsSame)) {
      found = true;
    } else {
      others.append(item).push_back(L'\0');
    }
  }
  return found;
}

}  // namespace vtclass::agent
