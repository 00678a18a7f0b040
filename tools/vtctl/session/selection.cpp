#include "tools/vtctl/session/selection.h"

#include <vtclass/win32.h>

#include <algorithm>
#include <utility>

namespace vtctl {
namespace {

std::wstring Folded(std::wstring_view text) {
  std::wstring folded(text);
  ::CharUpperBuffW(folded.data(), static_cast<DWORD>(folded.size()));
  std::ranges::replace(folded, L'/', L'\\');
  return folded;
}

// What follows a star is tried at each place, the last star's alone: an earlier one that took more
// would leave less.
bool MatchesFolded(std::wstring_view pattern, std::wstring_view text) {
  size_t at = 0;
  size_t star = std::wstring_view::npos;  // the last one, and where what follows it was tried
  size_t tried = 0;
  for (size_t i = 0; i < text.size();) {
    if (at < pattern.size() && pattern[at] == L'*') {
      star = at++;
      tried = i;
    } else if (at < pattern.size() && (pattern[at] == L'?' || pattern[at] == text[i])) {
      const bool isPair =
          pattern[at] == L'?' && i + 1 < text.size() && IS_SURROGATE_PAIR(text[i], text[i + 1]);
      ++at;
      i += isPair ? 2 : 1;
    } else if (star != std::wstring_view::npos) {
      at = star + 1;
      i = ++tried;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of(L'*', at) == std::wstring_view::npos;
}

}  // namespace

Selection::Selection(std::vector<std::wstring> include, std::vector<std::wstring> exclude)
    : include(std::move(include)),
      exclude(std::move(exclude)),
      comparedInclude(Compared(this->include)),
      comparedExclude(Compared(this->exclude)) {}

std::vector<Selection::Pattern> Selection::Compared(const std::vector<std::wstring>& written) {
  std::vector<Pattern> patterns;
  for (const std::wstring& each : written) {
    std::wstring text = Folded(each);
    const bool isOfPath = text.find(L'\\') != std::wstring::npos;
    // "\Temp" and "Temp\" are the folder right below the root.
    const bool isOfFolder = text.ends_with(L'\\');
    if (isOfFolder) text.pop_back();
    if (text.starts_with(L'\\')) text.erase(0, 1);
    patterns.push_back({std::move(text), isOfPath, isOfFolder});
  }
  return patterns;
}

bool Selection::Matches(const std::vector<Pattern>& patterns, std::wstring_view folded,
                        bool isFolder) {
  const std::wstring_view name = folded.substr(folded.rfind(L'\\') + 1);  // npos + 1 is 0
  return std::ranges::any_of(patterns, [&](const Pattern& pattern) {
    return (isFolder || !pattern.isOfFolder) &&
           MatchesFolded(pattern.text, pattern.isOfPath ? folded : name);
  });
}

bool Selection::TakesFile(std::wstring_view path) const {
  const std::wstring folded = Folded(path);
  return !Matches(comparedExclude, folded, false) &&
         (include.empty() || Matches(comparedInclude, folded, false));
}

bool Selection::TakesFolder(std::wstring_view path) const {
  return !Matches(comparedExclude, Folded(path), true);
}

}  // namespace vtctl
