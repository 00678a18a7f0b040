#include "tools/vtctl/joblog/joblog_files.h"

#include <algorithm>

namespace vtctl::joblog {
namespace {

using vtclass::platform::OwnedFile;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr std::size_t kMaxTransfer = std::size_t{1024} * 1024;

bool Identify(HANDLE file, BY_HANDLE_FILE_INFORMATION& information) {
  return file != INVALID_HANDLE_VALUE && ::GetFileInformationByHandle(file, &information) != FALSE;
}

DWORD WriteAll(HANDLE file, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = static_cast<DWORD>(std::min(bytes.size(), kMaxTransfer));
    DWORD written = 0;
    if (!::WriteFile(file, bytes.data(), count, &written, nullptr)) return ::GetLastError();
    /* A nearly full disk may take a part, and refuses the next part. */
    if (written == 0) return ERROR_DISK_FULL;
    bytes.remove_prefix(written);
  }
  return ERROR_SUCCESS;
}

}  // namespace

DWORD LogInput::Open(const std::wstring& systemPath) {
  /* A handle that refuses other writers fails exactly when there is one. */
  const OwnedFile alone(::CreateFileW(systemPath.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  isOpenElsewhere = !alone && ::GetLastError() == ERROR_SHARING_VIOLATION;
  file.Reset(::CreateFileW(systemPath.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  return file ? ERROR_SUCCESS : ::GetLastError();
}

std::size_t LogInput::Read(char* to, std::size_t room) {
  DWORD count = 0;
  const auto most = static_cast<DWORD>(std::min(room, kMaxTransfer));
  if (::ReadFile(file.Get(), to, most, &count, nullptr)) return count;
  error = ::GetLastError();
  return 0;
}

bool LogInput::IsSameFile(const std::wstring& systemPath) const {
  const OwnedFile other(::CreateFileW(systemPath.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
  BY_HANDLE_FILE_INFORMATION mine = {}, its = {};
  return Identify(file.Get(), mine) && Identify(other.Get(), its) &&
         mine.dwVolumeSerialNumber == its.dwVolumeSerialNumber &&
         mine.nFileIndexHigh == its.nFileIndexHigh && mine.nFileIndexLow == its.nFileIndexLow;
}

DWORD WriteWholeFile(const std::wstring& systemPath, std::string_view bytes) {
  const std::wstring temporary = systemPath + L".vtctl-" + std::to_wstring(::GetCurrentProcessId());
  OwnedFile file(::CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                               FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return ::GetLastError();
  DWORD status = WriteAll(file.Get(), bytes);
  file.Reset();
  if (status == ERROR_SUCCESS &&
      !::MoveFileExW(temporary.c_str(), systemPath.c_str(), MOVEFILE_REPLACE_EXISTING)) {
    status = ::GetLastError();
  }
  if (status != ERROR_SUCCESS) ::DeleteFileW(temporary.c_str());
  return status;
}

}  // namespace vtctl::joblog
