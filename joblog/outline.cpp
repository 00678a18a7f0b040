#include "joblog/outline.h"

#include <algorithm>

namespace vtclass::joblog {
namespace {

bool IsSeparator(char16_t unit) { return unit == u'\\' || unit == u'/'; }

}  // namespace

void Outline::Clear() {
  sections.clear();
  folders.clear();
  std::ranges::fill(count, 0U);
}

void Outline::PopSection() {
  folders.resize(std::min(folders.size(), sections.back().foldersBelow));
  --count[sections.back().kind];
  sections.pop_back();
}

void Outline::CloseElement(std::size_t elementDepth) {
  while (!sections.empty() && sections.back().elementDepth >= elementDepth) PopSection();
}

void Outline::LeaveFolders(std::size_t elementDepth) {
  const std::size_t kept = sections.empty() ? 0 : sections.back().foldersBelow;
  while (folders.size() > kept && folders.back().elementDepth > elementDepth) folders.pop_back();
}

void Outline::EndFolders() {
  for (std::size_t i = folders.size(); i > 0 && folders[i - 1].elementDepth != kOver; --i) {
    folders[i - 1].elementDepth = kOver;
  }
}

void Outline::Push(Kind kind, std::size_t elementDepth) {
  sections.push_back({kind, elementDepth, folders.size()});
  ++count[kind];
}

void Outline::OpenSection(std::size_t elementDepth) { Push(kSection, elementDepth); }

void Outline::OpenSet(std::size_t elementDepth) { Push(kSet, elementDepth); }

void Outline::CloseBareSet() {
  while (count[kBareSet] > 0) PopSection();
}

void Outline::OpenBareSet(std::size_t elementDepth) { Push(kBareSet, elementDepth); }

// True when the folder, whose path begins `path`, contains `child`.
bool Outline::Contains(const Folder& folder, std::u16string_view child) const {
  const std::u16string_view parent(path.data(), std::min(folder.pathLength, path.size()));
  return child.size() > parent.size() && child.starts_with(parent) &&
         IsSeparator(child[parent.size()]);
}

void Outline::OpenFolder(std::u16string_view newPath, std::size_t elementDepth) {
  while (!newPath.empty() && IsSeparator(newPath.back())) newPath.remove_suffix(1);
  const std::size_t kept = sections.empty() ? 0 : sections.back().foldersBelow;
  while (folders.size() > kept && !Contains(folders.back(), newPath)) folders.pop_back();
  folders.push_back({elementDepth, newPath.size()});
  path.assign(newPath);
}

}  // namespace vtclass::joblog
