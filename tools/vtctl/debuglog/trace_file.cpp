#include "tools/vtctl/debuglog/trace_file.h"

#include <algorithm>
#include <memory>
#include <tuple>

namespace vtctl::debuglog {

using vtclass::platform::OwnedFile;

namespace {

constexpr std::size_t kFirstBytes = 2;

BY_HANDLE_FILE_INFORMATION Information(HANDLE file) {
  BY_HANDLE_FILE_INFORMATION information = {};
  ::GetFileInformationByHandle(file, &information);
  return information;
}

uint64_t Joined(DWORD high, DWORD low) { return uint64_t{high} << 32 | low; }

// A handle that keeps nobody from writing, moving or deleting.
OwnedFile OpenShared(const std::wstring& systemPath, DWORD access, DWORD flags) {
  return OwnedFile(::CreateFileW(systemPath.c_str(), access,
                                 FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                 OPEN_EXISTING, flags, nullptr));
}

// Hands each entry of an open folder to `take`.
template <typename Take>
void ForEachEntry(HANDLE folder, Take take) {
  constexpr DWORD kRoom = 0x10000;
  const auto room = std::make_unique<uint64_t[]>(kRoom / sizeof(uint64_t));
  while (::GetFileInformationByHandleEx(folder, FileIdBothDirectoryInfo, room.get(), kRoom)) {
    const auto* at = reinterpret_cast<const char*>(room.get());
    for (DWORD next = 1; next != 0; at += next) {
      const auto& entry = *reinterpret_cast<const FILE_ID_BOTH_DIR_INFO*>(at);
      take(entry, std::wstring(entry.FileName, entry.FileNameLength / sizeof(wchar_t)));
      next = entry.NextEntryOffset;
    }
  }
}

}  // namespace

DWORD TraceFile::Open(const Path& path) {
  if (path.Error() != ERROR_SUCCESS) return path.Error();
  OwnedFile opened = OpenShared(path.System(), GENERIC_READ, FILE_ATTRIBUTE_NORMAL);
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

std::vector<RotatedFile> RotatedFilesOf(const Path& live) {
  const std::wstring& livePath = live.System();
  const std::size_t name = livePath.find_last_of(L'\\') + 1;
  const std::wstring folder = livePath.substr(0, name);
  std::vector<RotatedFile> files;
  const OwnedFile listed = OpenShared(folder, FILE_LIST_DIRECTORY, FILE_FLAG_BACKUP_SEMANTICS);
  ForEachEntry(
      listed.Get(), [&](const FILE_ID_BOTH_DIR_INFO& entry, const std::wstring& entryName) {
        const auto part = RotatedPartOf(std::wstring_view(livePath).substr(name), entryName);
        if (!part || (entry.FileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return;
        files.push_back({Path(folder + entryName), *part,
                         static_cast<uint64_t>(entry.EndOfFile.QuadPart),
                         static_cast<uint64_t>(entry.FileId.QuadPart)});
      });
  std::ranges::sort(files, {}, [](const RotatedFile& file) {
    return std::tie(file.part.extension, file.part.number);
  });
  return files;
}

}  // namespace vtctl::debuglog
