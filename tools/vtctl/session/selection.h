#ifndef VTCLASS_TOOLS_VTCTL_SESSION_SELECTION_H
#define VTCLASS_TOOLS_VTCTL_SESSION_SELECTION_H

#include <string>
#include <string_view>
#include <vector>

namespace vtctl {

/*
 * Which files and folders below the root are read, by the operator's patterns. In a pattern "*"
 * stands for any characters and "?" for one; case does not matter, and "/" is a backslash. A
 * pattern with a backslash is one for the path below the root, one without for the name alone; with
 * one at its end it is for folders only. What matches an exclusion is left out, a folder with
 * everything below it. Where there are inclusions, only files that match one are read; folders are
 * gone through in any case.
 */
class Selection {
 public:
  Selection(std::vector<std::wstring> include = {}, std::vector<std::wstring> exclude = {});

  bool IsEmpty() const { return include.empty() && exclude.empty(); }
  /* The patterns as they were written. */
  const std::vector<std::wstring>& Included() const { return include; }
  const std::vector<std::wstring>& Excluded() const { return exclude; }
  /* `path` is that below the root, without a backslash in front. */
  bool TakesFile(std::wstring_view path) const;
  bool TakesFolder(std::wstring_view path) const;

 private:
  /* As it is compared: each entry of a tree is. */
  struct Pattern {
    std::wstring text;
    bool isOfPath;   /* otherwise of a name */
    bool isOfFolder; /* and of no file */
  };
  static std::vector<Pattern> Compared(const std::vector<std::wstring>& written);
  static bool Matches(const std::vector<Pattern>& patterns, std::wstring_view folded,
                      bool isFolder);

  std::vector<std::wstring> include, exclude;
  std::vector<Pattern> comparedInclude, comparedExclude;
};

}  // namespace vtctl

#endif
