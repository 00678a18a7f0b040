#ifndef VTCLASS_JOBLOG_OUTLINE_H
#define VTCLASS_JOBLOG_OUTLINE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vtclass::joblog {

/*
 * The sets, sections and folders that are open. Sections follow the elements. Folders follow their
 * paths: the writer closes and opens directory elements by the number of path components, so a
 * folder is often no element inside its parent's, and a log that lost its front has no elements
 * around its folders at all. A folder ends when a path comes that is not below it, or at the first
 * entry behind the end of its element.
 */
class Outline {
 public:
  std::size_t Depth() const { return sections.size() + folders.size(); }
  /* True inside a set that has an element of its own. */
  bool InSetElement() const { return count[kSet] > 0; }

  void Clear();
  /* An element at this depth was closed: its sections end, and what is inside them. */
  void CloseElement(std::size_t elementDepth);
  /* An entry comes at this depth: folders whose element is over end. */
  void LeaveFolders(std::size_t elementDepth);
  /* An element that began in the part of the log that is cut away ends, perhaps a folder's: at the
   * next entry no folder is open any more. */
  void EndFolders();
  void OpenSection(std::size_t elementDepth);
  void OpenSet(std::size_t elementDepth);
  /* A set that no element encloses: it ends with the element at this depth, or at the next. */
  void OpenBareSet(std::size_t elementDepth);
  void CloseBareSet();
  /* The folder's depth is Depth() - 1 after it. */
  void OpenFolder(std::u16string_view path, std::size_t elementDepth);

 private:
  enum Kind { kSection, kSet, kBareSet, kKinds };
  struct Section {
    Kind kind;
    std::size_t elementDepth;
    std::size_t foldersBelow; /* the folders that were open around it */
  };
  static constexpr std::size_t kOver = static_cast<std::size_t>(-1);
  struct Folder {
    std::size_t elementDepth;
    std::size_t pathLength;
  };
  void Push(Kind kind, std::size_t elementDepth);
  void PopSection();
  bool Contains(const Folder& folder, std::u16string_view child) const;

  std::vector<Section> sections;
  std::vector<Folder> folders;
  std::size_t count[kKinds] = {};
  /* The path of the newest folder; the paths of those around it are beginnings of it, so that a
   * deep nest of long paths takes no more memory than its last one. */
  std::u16string path;
};

}  // namespace vtclass::joblog

#endif
