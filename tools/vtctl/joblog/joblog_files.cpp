#include "tools/vtctl/joblog/joblog_files.h"

#include <winternl.h>

#include <algorithm>
#include <random>
#include <span>

namespace vtctl {
namespace {

using vtclass::platform::OwnedFile;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr std::size_t kMaxTransfer = std::size_t{1024} * 1024;

bool Identify(HANDLE file, BY_HANDLE_FILE_INFORMATION& information) {
  return file != INVALID_HANDLE_VALUE && ::GetFileInformationByHandle(file, &information) != FALSE;
}

// The system's list of the processes that use a file. A handle that refuses writers would tell of
// one as well, but shut out the agent that opens its log just then.
std::optional<bool> AskWhetherOpenElsewhere(HANDLE file) {
  // NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange): newer than the header's list
  constexpr auto kProcessIdsUsingFile = static_cast<FILE_INFORMATION_CLASS>(47);
  constexpr auto kMoreThanFit = static_cast<NTSTATUS>(0xC0000004);
  struct {
    ULONG count;
    ULONG_PTR ids[64];
  } users = {};
  IO_STATUS_BLOCK status = {};
  const NTSTATUS answer =
      ::NtQueryInformationFile(file, &status, &users, sizeof users, kProcessIdsUsingFile);
  if (answer == kMoreThanFit) return true;
  if (answer < 0) return std::nullopt;
  const std::span ids(users.ids, std::min<std::size_t>(users.count, std::size(users.ids)));
  return std::ranges::any_of(ids, [](ULONG_PTR id) { return id != ::GetCurrentProcessId(); });
}

// A new file beside `place` with a name that nobody can have prepared.
DWORD MakeBeside(const Path& place, std::wstring& path, OwnedFile& file) {
  std::random_device random;
  for (int attempts = 0; attempts < 16; ++attempts) {
    path = place.System() + L".vtctl-" + std::to_wstring(random()) + std::to_wstring(random());
    file.Reset(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                             FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file) return ERROR_SUCCESS;
    if (::GetLastError() != ERROR_FILE_EXISTS) return ::GetLastError();
  }
  return ERROR_FILE_EXISTS;
}

DWORD WriteAll(HANDLE file, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = static_cast<DWORD>(std::min(bytes.size(), kMaxTransfer));
    DWORD written = 0;
    if (!::WriteFile(file, bytes.data(), count, &written, nullptr)) return ::GetLastError();
    // A nearly full disk may take a part, and refuses the next part.
    if (written == 0) return ERROR_DISK_FULL;
    bytes.remove_prefix(written);
  }
  return ERROR_SUCCESS;
}

}  // namespace

DWORD LogInput::Open(const Path& path) {
  if (path.Written() == kStandardInput) {
    input = ::GetStdHandle(STD_INPUT_HANDLE);
    return input && input != INVALID_HANDLE_VALUE ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
  }
  if (path.Error() != ERROR_SUCCESS) return path.Error();
  file.Reset(::CreateFileW(path.System().c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  if (!file) return ::GetLastError();
  input = file.Get();
  isOpenElsewhere = AskWhetherOpenElsewhere(input);
  return ERROR_SUCCESS;
}

std::size_t LogInput::Read(char* to, std::size_t room) {
  DWORD count = 0;
  const auto most = static_cast<DWORD>(std::min(room, kMaxTransfer));
  if (::ReadFile(input, to, most, &count, nullptr)) return count;
  error = ::GetLastError();
  // So ends a pipe.
  if (!file && error == ERROR_BROKEN_PIPE) error = ERROR_SUCCESS;
  return 0;
}

std::uint64_t LogInput::Size() const {
  LARGE_INTEGER size = {};
  return ::GetFileSizeEx(file.Get(), &size) ? static_cast<std::uint64_t>(size.QuadPart) : 0;
}

bool LogInput::IsSameFile(const Path& path) const {
  const OwnedFile other(::CreateFileW(path.System().c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
  BY_HANDLE_FILE_INFORMATION mine = {}, its = {};
  return Identify(input, mine) && Identify(other.Get(), its) &&
         mine.dwVolumeSerialNumber == its.dwVolumeSerialNumber &&
         mine.nFileIndexHigh == its.nFileIndexHigh && mine.nFileIndexLow == its.nFileIndexLow;
}

DWORD WriteWholeFile(const Path& path, std::string_view bytes) {
  std::wstring temporary;
  OwnedFile file;
  if (const DWORD failure = MakeBeside(path, temporary, file)) return failure;
  DWORD status = WriteAll(file.Get(), bytes);
  file.Reset();
  if (status == ERROR_SUCCESS &&
      !::MoveFileExW(temporary.c_str(), path.System().c_str(), MOVEFILE_REPLACE_EXISTING)) {
    status = ::GetLastError();
  }
  if (status != ERROR_SUCCESS) ::DeleteFileW(temporary.c_str());
  return status;
}

}  // namespace vtctl
