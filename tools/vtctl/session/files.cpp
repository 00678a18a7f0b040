#include "tools/vtctl/session/files.h"

#include <algorithm>
#include <cwchar>

namespace vtctl {
namespace {

bool IsDots(const wchar_t* name) { return !std::wcscmp(name, L".") || !std::wcscmp(name, L".."); }

uint64_t SizeOf(const BY_HANDLE_FILE_INFORMATION& information) {
  return uint64_t{information.nFileSizeHigh} << 32 | information.nFileSizeLow;
}

bool Differ(const BY_HANDLE_FILE_INFORMATION& a, const BY_HANDLE_FILE_INFORMATION& b) {
  return SizeOf(a) != SizeOf(b) || ::CompareFileTime(&a.ftLastWriteTime, &b.ftLastWriteTime) != 0;
}

}  // namespace

FolderListing::FolderListing(const Path& folder) {
  find.Reset(::FindFirstFileExW((folder / L"*").System().c_str(), FindExInfoBasic, &first,
                                FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH));
  opened = firstPending = static_cast<bool>(find);
  if (opened) return;
  error = ::GetLastError();
  // The root of an empty volume has not even the entry ".".
  if (error == ERROR_FILE_NOT_FOUND) {
    opened = true;
    error = 0;
  }
}

bool FolderListing::Next(WIN32_FIND_DATAW& entry) {
  while (Advance(entry)) {
    if (!IsDots(entry.cFileName)) return true;
  }
  return false;
}

bool FolderListing::Advance(WIN32_FIND_DATAW& entry) {
  if (!find || error != 0) return false;
  if (firstPending) {
    firstPending = false;
    entry = first;
    return true;
  }
  if (::FindNextFileW(find.Get(), &entry)) return true;
  const DWORD status = ::GetLastError();
  error = status == ERROR_NO_MORE_FILES ? 0 : status;
  find.Reset();
  return false;
}

ReadResult FileReader::Read(const Path& path) {
  buffer.resize(bufferBytes);
  ReadResult result = {ReadResult::complete};
  const auto failed = [&result](ReadResult::Outcome outcome) {
    result.outcome = outcome;
    result.error = ::GetLastError();
    return result;
  };
  const vtclass::platform::OwnedFile file(::CreateFileW(
      path.System().c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
      nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  if (!file) return failed(ReadResult::cannotOpen);
  BY_HANDLE_FILE_INFORMATION before = {};
  if (!::GetFileInformationByHandle(file.Get(), &before)) return failed(ReadResult::cannotAsk);
  result.size = SizeOf(before);
  while (result.read < result.size) {
    if (stop.IsGiven()) {
      result.outcome = ReadResult::stopped;
      return result;
    }
    const auto wanted =
        static_cast<DWORD>(std::min<uint64_t>(buffer.size(), result.size - result.read));
    DWORD count = 0;
    if (!::ReadFile(file.Get(), buffer.data(), wanted, &count, nullptr)) {
      return failed(ReadResult::cannotRead);
    }
    if (count == 0) break;
    result.read += count;
  }
  BY_HANDLE_FILE_INFORMATION after = {};
  if (!::GetFileInformationByHandle(file.Get(), &after)) return failed(ReadResult::cannotAsk);
  if (result.read < result.size) {
    result.outcome = ReadResult::shorter;
  } else if (Differ(before, after)) {
    result.outcome = ReadResult::changed;
  }
  return result;
}

}  // namespace vtctl
