#include "tools/vtctl/hive/hive_file.h"

#include <vtclass/win32.h>

#include <algorithm>
#include <string>

#include "platform/owned.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/exit_code.h"
#include "tools/vtctl/shared/interrupt.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

using vtclass::hive::FileKind;
using vtclass::platform::OwnedFile;

constexpr std::size_t kTransfer = std::size_t{1024} * 1024;

const wchar_t* WhatElse(FileKind kind) {
  switch (kind) {
    case FileKind::empty:
      return L" is empty: whatever was to save a key there wrote nothing.";
    case FileKind::wineText:
      return L" is no hive but a registry in Wine's own text: Wine saves keys so, and Windows "
             L"cannot restore it.";
    default:
      return L" is no hive: it does not begin as one.";
  }
}

std::wstring Reason(unsigned long status) {
  if (status == ERROR_FILE_TOO_LARGE) return L"it has more than 1 GB.";
  if (status == ERROR_NOT_SUPPORTED) return L"it is no file on a disk.";
  return SystemText(status);
}

}  // namespace

unsigned long ReadWholeFile(const Path& path, std::vector<unsigned char>& bytes) {
  bytes.clear();
  if (path.Error() != ERROR_SUCCESS) return path.Error();
  const OwnedFile file(::CreateFileW(path.System().c_str(), GENERIC_READ,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  if (!file) return ::GetLastError();
  // A device could keep its reader waiting for ever.
  if (::GetFileType(file.Get()) != FILE_TYPE_DISK) return ERROR_NOT_SUPPORTED;
  LARGE_INTEGER length = {};
  if (!::GetFileSizeEx(file.Get(), &length)) return ::GetLastError();
  if (static_cast<std::uint64_t>(length.QuadPart) > kMostHiveBytes) return ERROR_FILE_TOO_LARGE;
  bytes.reserve(static_cast<std::size_t>(length.QuadPart) + kTransfer);
  for (DWORD count = 1; count != 0;) {
    const std::size_t size = bytes.size();
    // It may grow while it is read.
    if (size > kMostHiveBytes) return ERROR_FILE_TOO_LARGE;
    bytes.resize(size + kTransfer);
    if (!::ReadFile(file.Get(), bytes.data() + size, kTransfer, &count, nullptr)) {
      return ::GetLastError();
    }
    bytes.resize(size + count);
  }
  return ERROR_SUCCESS;
}

int LoadHive(const Path& path, std::vector<unsigned char>& bytes) {
  if (const unsigned long status = ReadWholeFile(path, bytes)) {
    return FailWith(kExitNoInput, status, Quoted(path) + L" cannot be read: " + Reason(status));
  }
  const FileKind kind = vtclass::hive::KindOf(bytes);
  return kind == FileKind::hive ? kExitClean : Fail(kExitBadInput, Quoted(path) + WhatElse(kind));
}

int VerdictOn(const Path& path, const vtclass::hive::HiveSummary& summary) {
  if (Interrupted()) return kExitCancelled;
  if (summary.minorVersion == 0) {
    return Fail(kExitBadInput, Quoted(path) + L" is no hive that can be read.");
  }
  if (summary.errors != 0) return kExitErrors;
  return summary.warnings != 0 ? kExitWarnings : kExitClean;
}

}  // namespace vtctl
