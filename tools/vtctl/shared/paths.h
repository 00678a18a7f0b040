#ifndef VTCLASS_TOOLS_VTCTL_SHARED_PATHS_H
#define VTCLASS_TOOLS_VTCTL_SHARED_PATHS_H

#include <string>

namespace vtctl {

/* A file or folder: the path for the system, and the one for people. */
class Path {
 public:
  Path() = default;
  /* As somebody wrote it. When the system cannot make it absolute, it has no path for the system,
   * and Error tells why. */
  explicit Path(const std::wstring& written);

  /* Absolute, behind "\\?\": no limit of 260 characters, and names with blanks or dots at their
   * end are taken as they are. Empty when there is none. */
  const std::wstring& System() const { return system; }
  /* The same path as people write it: without "\\?\" where it names the same without. Shown is
   * fit for a screen; Stored is for job logs and programs, with U+FFFD only for what XML cannot
   * hold. */
  std::wstring Shown() const;
  std::wstring Stored() const;
  /* What the path was made of: the operator's own words, for what is said of them. */
  const std::wstring& Written() const { return written; }
  unsigned long Error() const { return error; }

  /* What has that name below the folder. */
  Path operator/(const std::wstring& name) const;

 private:
  std::wstring system;
  std::wstring written;
  unsigned long error = 0;
};

/* What the operator wrote, between quotation marks. */
std::wstring Quoted(const Path& path);

/* Makes a folder and the ones above it that are missing. The system's status. */
unsigned long MakeFolders(const Path& folder);

}  // namespace vtctl

#endif
