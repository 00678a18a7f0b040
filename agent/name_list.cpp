#include "agent/name_list.h"

#include <algorithm>

#include "config/multi_string.h"
#include "vtclass/strings.h"

namespace vtclass::agent {

namespace {

// Most names of a long list are told apart by one character, which alone is worth a comparison.
bool IsSame(wchar_t a, wchar_t b) { return a == b || ::comparei(a, b) == 0; }

}  // namespace

bool TakeOut(const std::wstring& stored, std::wstring_view name, std::wstring& others) {
  bool found = false;
  others.clear();
  others.reserve(stored.size() + name.size() + 3);
  std::wstring_view run;  // names that stand side by side, with their zeros
  std::wstring_view rest = stored;
  for (std::wstring_view item; config::NextItem(rest, item);) {
    if (!found && std::ranges::equal(item, name, &IsSame)) {
      found = true;
      continue;
    }
    if (item.data() != run.data() + run.size()) {
      others.append(run);
      run = item.substr(0, 0);
    }
    // Behind a last name without its zero stands that of the string.
    run = {run.data(), run.size() + item.size() + 1};
  }
  others.append(run);
  return found;
}

}  // namespace vtclass::agent
