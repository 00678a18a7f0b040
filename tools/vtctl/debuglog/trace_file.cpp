#include "tools/vtctl/debuglog/trace_file.h"

#include <algorithm>
#include <tuple>

#include "tools/vtctl/session/files.h"

namespace vtctl::debuglog {
namespace {

constexpr std::size_t kFirstBytes = 2;

BY_HANDLE_FILE_INFORMATION Information(HANDLE file) {
  BY_HANDLE_FILE_INFORMATION information = {};
  ::GetFileInformationByHandle(file, &information);
  return information;
}

uint64_t Joined(DWORD high, DWORD low) { return uint64_t{high} << 32 | low; }

}  // namespace

DWORD TraceFile::Open(const std::wstring& systemPath) {
  vtclass::platform::OwnedFile opened(::CreateFileW(
      systemPath.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
      nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!opened) return ::GetLastError();
  file = std::move(opened);
  return ERROR_SUCCESS;
}

uint64_t TraceFile::Size() const {
  LARGE_INTEGER size = {};
  ::GetFileSizeEx(file.Get(), &size);
  return static_cast<uint64_t>(size.QuadPart);
}

FileIdentity TraceFile::Identity() const {
  const auto information = Information(file.Get());
  return {information.dwVolumeSerialNumber,
          Joined(information.nFileIndexHigh, information.nFileIndexLow)};
}

FILETIME TraceFile::LastWrite() const { return Information(file.Get()).ftLastWriteTime; }

Encoding TraceFile::TextEncoding() const { return EncodingOf(Read(0, kFirstBytes)); }

std::string TraceFile::Read(uint64_t position, std::size_t most) const {
  std::string bytes(most, '\0');
  OVERLAPPED at = {};
  at.Offset = static_cast<DWORD>(position);
  at.OffsetHigh = static_cast<DWORD>(position >> 32);
  DWORD read = 0;
  if (!::ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(most), &read, &at)) read = 0;
  bytes.resize(read);
  return bytes;
}

std::vector<RotatedFile> RotatedFilesOf(const std::wstring& livePath) {
  const std::size_t name = livePath.find_last_of(L'\\') + 1;
  const std::wstring folder = livePath.substr(0, name);
  std::vector<RotatedFile> files;
  FolderListing listing(folder);
  for (WIN32_FIND_DATAW entry = {}; listing.Next(entry);) {
    const auto part = RotatedPartOf(std::wstring_view(livePath).substr(name), entry.cFileName);
    if (!part || (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) continue;
    files.push_back(
        {folder + entry.cFileName, *part, Joined(entry.nFileSizeHigh, entry.nFileSizeLow)});
  }
  std::ranges::sort(files, {}, [](const RotatedFile& file) {
    return std::tie(file.part.extension, file.part.number);
  });
  return files;
}

}  // namespace vtctl::debuglog
