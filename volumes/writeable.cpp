#include <vtclass/win32.h>

#include <string>

#include "platform/no_throw.h"
#include "platform/owned.h"
#include "vtclass/volumes.h"

using vtclass::platform::OwnedFile;
using vtclass::platform::StatusOf;

namespace {

constexpr wchar_t kTestFile[] = L"_VT101_.TMP";
constexpr wchar_t kText[] = L"This is a test.";
constexpr DWORD kTextBytes = sizeof(kText) - sizeof(wchar_t);

// What stands there under the name of the test file may be written over unless it leads elsewhere:
// a link, which need not be this volume's, or another name of somebody's file.
bool IsLink(const wchar_t* path) noexcept {
  const DWORD attributes = ::GetFileAttributesW(path);
  if (attributes == INVALID_FILE_ATTRIBUTES) return false;
  if (attributes & FILE_ATTRIBUTE_REPARSE_POINT) return true;
  const OwnedFile file(::CreateFileW(path, FILE_READ_ATTRIBUTES,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_EXISTING, 0, nullptr));
  BY_HANDLE_FILE_INFORMATION information{};
  return file && ::GetFileInformationByHandle(file.Get(), &information) &&
         information.nNumberOfLinks > 1;
}

// Leaves no file, whatever comes of the writing.
bool CanWrite(const wchar_t* path) noexcept {
  if (IsLink(path)) {
    ::SetLastError(ERROR_FILE_EXISTS);
    return false;
  }
  OwnedFile file(::CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                               FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_TEMPORARY, nullptr));
  if (!file) return false;
  DWORD written = 0;
  const bool isDone = ::WriteFile(file.Get(), kText, kTextBytes, &written, nullptr) != FALSE;
  const DWORD error = isDone ? ERROR_DISK_FULL : ::GetLastError();
  file.Reset();
  ::DeleteFileW(path);
  if (isDone && written == kTextBytes) return true;
  ::SetLastError(error);
  return false;
}

}  // namespace

bool vtclass::IsVolumeWriteable(const wchar_t* root) noexcept {
  bool isWriteable = false;
  const DWORD failure = StatusOf([&]() -> DWORD {
    if (!root) return ERROR_INVALID_PARAMETER;
    std::wstring path(root);
    if (!path.ends_with(L'\\')) path += L'\\';
    path += kTestFile;
    isWriteable = CanWrite(path.c_str());
    return ERROR_SUCCESS;
  });
  if (failure != ERROR_SUCCESS) ::SetLastError(failure);
  return isWriteable;
}
