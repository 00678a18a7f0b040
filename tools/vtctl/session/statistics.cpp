#include "tools/vtctl/session/statistics.h"

#include <algorithm>
#include <functional>

namespace vtctl {

void FileStatistics::Add(const std::wstring& path, const std::wstring& extension, uint64_t bytes) {
  Count& count = extensions[extension];
  ++count.files;
  count.bytes += bytes;
  AddLargest(path, bytes);
}

void FileStatistics::Add(const FileStatistics& other) {
  for (const auto& [extension, more] : other.extensions) {
    Count& count = extensions[extension];
    count.files += more.files;
    count.bytes += more.bytes;
  }
  for (const LargeFile& file : other.largest) AddLargest(file.path, file.bytes);
}

void FileStatistics::AddLargest(const std::wstring& path, uint64_t bytes) {
  if (largest.size() == largestCount && (largest.empty() || bytes <= largest.back().bytes)) return;
  const auto place =
      std::ranges::upper_bound(largest, bytes, std::ranges::greater(), &LargeFile::bytes);
  largest.insert(place, {path, bytes});
  if (largest.size() > largestCount) largest.pop_back();
}

std::vector<ExtensionTotal> FileStatistics::ByExtension() const {
  std::vector<ExtensionTotal> totals;
  totals.reserve(extensions.size());
  for (const auto& [extension, count] : extensions) {
    totals.push_back({extension, count.files, count.bytes});
  }
  std::ranges::sort(totals, [](const ExtensionTotal& a, const ExtensionTotal& b) {
    return a.bytes != b.bytes ? a.bytes > b.bytes : a.extension < b.extension;
  });
  return totals;
}

}  // namespace vtctl
