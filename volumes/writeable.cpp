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

// Leaves no file, whatever comes of the writing.
bool CanWrite(const wchar_t* path) noexcept {
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
