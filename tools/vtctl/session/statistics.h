#ifndef VTCLASS_TOOLS_VTCTL_SESSION_STATISTICS_H
#define VTCLASS_TOOLS_VTCTL_SESSION_STATISTICS_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace vtctl {

/* What a session counts. */
struct Totals {
  uint64_t files = 0; /* read to their end */
  uint64_t folders = 0;
  uint64_t bytes = 0;
  uint64_t skipped = 0;  /* files, folders and links that were not read */
  uint64_t excluded = 0; /* files and folders that the operator has left out */
  uint64_t warnings = 0;
  uint64_t errors = 0;
};

struct LargeFile {
  std::wstring path;
  uint64_t bytes = 0;
};

struct ExtensionTotal {
  std::wstring extension;
  uint64_t files = 0;
  uint64_t bytes = 0;
};

/* The kinds of files that were read and the largest of them. */
class FileStatistics {
 public:
  explicit FileStatistics(size_t largestCount) : largestCount(largestCount) {}

  void Add(const std::wstring& path, const std::wstring& extension, uint64_t bytes);
  /* All of another one, as if its files came now. Requires: it keeps as many large ones. */
  void Add(const FileStatistics& other);

  /* Largest first; equal sizes in the order in which they came. */
  const std::vector<LargeFile>& Largest() const { return largest; }
  /* By bytes, most first; equal ones by name. */
  std::vector<ExtensionTotal> ByExtension() const;

 private:
  struct Count {
    uint64_t files = 0;
    uint64_t bytes = 0;
  };
  void AddLargest(const std::wstring& path, uint64_t bytes);

  size_t largestCount;
  std::vector<LargeFile> largest;
  std::map<std::wstring, Count> extensions;
};

}  // namespace vtctl

#endif
