#include "config/registry_replication_save.h"

#include <atomic>

#include "config/replica_names.h"
#include "platform/extended_path.h"
#include "platform/failure_code.h"
#include "platform/no_throw.h"
#include "platform/owned.h"
#include "platform/same_name.h"
#include "vtclass/replication.h"
#include "vtclass/security.h"

using vtclass::config::DataFileName;
using vtclass::platform::ExtendedPath;
using vtclass::platform::FailureCode;
using vtclass::platform::IsSameName;
using vtclass::platform::OwnedFile;
using vtclass::platform::OwnedRegistryKey;
using vtclass::platform::StatusOf;

namespace vtclass::config {

namespace {

// Of all replicators of the process, so that no two of them take one name.
constinit std::atomic<unsigned> lastNumber{0};

// Whether anything stands there, as far as the system tells. Where it cannot even look, saving will
// tell why.
bool IsTaken(const std::wstring& path) {
  if (::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) return true;
  const DWORD reason = ::GetLastError();
  return reason == ERROR_ACCESS_DENIED || reason == ERROR_SHARING_VIOLATION;
}

// What the system still keeps in memory goes to the disk: the former file is given up for this one.
// Somebody else who has it open, such as a scanner, says nothing against it; whatever else keeps it
// from being opened does.
DWORD Flush(const std::wstring& path) noexcept {
  ::SetLastError(ERROR_SUCCESS);
  const OwnedFile file(::CreateFileW(path.c_str(), GENERIC_WRITE,
                                     FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
  if (file) return ::FlushFileBuffers(file.Get()) ? ERROR_SUCCESS : FailureCode();
  const DWORD status = FailureCode();
  const bool isInUse = status == ERROR_ACCESS_DENIED || status == ERROR_SHARING_VIOLATION;
  return isInUse ? ERROR_SUCCESS : status;
}

DWORD Replace(const std::wstring& data, const std::wstring& temporary) noexcept {
  const DWORD status = Flush(temporary);
  if (status != ERROR_SUCCESS) return status;
  ::DeleteFileW(data.c_str());
  return ::MoveFileW(temporary.c_str(), data.c_str()) ? ERROR_SUCCESS : FailureCode();
}

// Empty when all names are taken. A key may have a name that makes one of them its data file's.
std::wstring FreeTemporaryFile(const std::wstring& folder, const std::wstring& data) {
  for (unsigned attempt = 0; attempt < kTemporaryNumbers; ++attempt) {
    std::wstring path = TemporaryFileName(folder, NextTemporaryNumber(lastNumber));
    if (!IsSameName(path, data) && !IsTaken(path)) return path;
  }
  return {};
}

}  // namespace

DWORD SaveKey(HKEY key, const std::wstring& keyPath, const std::wstring& directory) {
  const std::wstring folder = ExtendedPath(directory);
  if (folder.empty()) return FailureCode();
  // Behind the folder as the system takes it: a name such as "Con.dat" is no device's there.
  const std::wstring data = DataFileName(keyPath, folder);
  const std::wstring temporary = FreeTemporaryFile(folder, data);
  if (temporary.empty()) return ERROR_FILE_EXISTS;
  const LSTATUS saved = ::RegSaveKeyW(key, temporary.c_str(), nullptr);
  // One that came to be since the look is another process's.
  if (saved == ERROR_ALREADY_EXISTS) return ERROR_ALREADY_EXISTS;
  const DWORD status =
      saved == ERROR_SUCCESS ? Replace(data, temporary) : static_cast<DWORD>(saved);
  if (status != ERROR_SUCCESS) ::DeleteFileW(temporary.c_str());
  return status;
}

}  // namespace vtclass::config

int RegistryKeyReplicator::LoadRegistryKey(HKEY root, const wcstring& keyPath,
                                           const wcstring& directory) noexcept {
  AssertPrivilege(SE_RESTORE_NAME, TRUE);
  const LSTATUS status = StatusOf([&]() -> LSTATUS {
    const std::wstring data = ExtendedPath(DataFileName(keyPath, directory));
    if (data.empty()) return static_cast<LSTATUS>(FailureCode());
    OwnedRegistryKey key;
    const LSTATUS opened =
        ::RegCreateKeyExW(root, keyPath.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE,
                          nullptr, key.Receive(), nullptr);
    return opened == ERROR_SUCCESS ? ::RegRestoreKeyW(key.Get(), data.c_str(), 0) : opened;
  });
  if (status == ERROR_SUCCESS) return 1;
  ::SetLastError(static_cast<DWORD>(status));
  return 0;
}
