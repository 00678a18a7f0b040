#include <gtest/gtest.h>

#include <string>

#include "platform/owned.h"
#include "tests/support/allocations.h"
#include "tests/support/handle_counter.h"
#include "tests/support/import_hook.h"
#include "tests/support/scratch_folder.h"
#include "vtclass/volumes.h"

namespace vtclass {
namespace {

using test::FileBytes;
using test::ImportHook;
using test::MakeFile;
using test::ScratchFolder;

constexpr const wchar_t* kFile = L"_VT101_.TMP";

bool Exists(const std::wstring& path) {
  return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

TEST(Writeable, FolderOnADisk_IsAndStaysEmpty) {
  const ScratchFolder folder;
  const test::HandleCounter handles;
  EXPECT_TRUE(IsVolumeWriteable(folder.Path().c_str()));
  EXPECT_TRUE(IsVolumeWriteable((folder / L"").c_str()));
  EXPECT_TRUE(IsVolumeWriteable((L"\\\\?\\" + folder.Path()).c_str()));
  EXPECT_FALSE(Exists(folder / kFile));
  MakeFile(folder / kFile, "somebody's");
  EXPECT_TRUE(IsVolumeWriteable(folder.Path().c_str())) << "what is there is written over";
  EXPECT_FALSE(Exists(folder / kFile));
  EXPECT_EQ(handles.Opened(), 4);
  EXPECT_EQ(handles.Open(), 0);
}

TEST(Writeable, NoFolder_IsNot) {
  const ScratchFolder folder;
  MakeFile(folder / L"file", "");
  const std::wstring missing = folder / L"missing", file = folder / L"file",
                     overLong = folder.Path() + std::wstring(40'000, L'x');
  struct Row {
    const wchar_t* root;
    DWORD code;
  };
  const Row rows[] = {{nullptr, ERROR_INVALID_PARAMETER},
                      {missing.c_str(), ERROR_PATH_NOT_FOUND},
                      {overLong.c_str(), 0},
                      {file.c_str(), 0},
                      {L"\\\\.\\no such device", 0},
                      {L"<>", 0}};
  for (const Row& row : rows) {
    ::SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(IsVolumeWriteable(row.root));
    EXPECT_NE(::GetLastError(), DWORD{ERROR_SUCCESS});
    if (row.code != 0) EXPECT_EQ(::GetLastError(), row.code);
  }
}

TEST(Writeable, SomebodyElseAtIt_IsNotAndKeepsHisFile) {
  const ScratchFolder folder;
  MakeFile(folder / kFile, "his");
  {
    const platform::OwnedFile his(::CreateFileW((folder / kFile).c_str(), GENERIC_READ,
                                                FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                                                nullptr));
    EXPECT_FALSE(IsVolumeWriteable(folder.Path().c_str()));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
  }
  EXPECT_EQ(FileBytes(folder / kFile), "his");
}

// What the system makes of the calls.
struct Played {
  BOOL written;
  DWORD bytes;
  DWORD code;
};
Played played;
std::wstring writtenText;
BOOL WINAPI Write(HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED) {
  writtenText.assign(static_cast<const wchar_t*>(data), size / sizeof(wchar_t));
  DWORD ignored = 0;
  ::WriteFile(file, data, played.bytes < size ? played.bytes : size, &ignored, nullptr);
  *written = played.bytes;
  ::SetLastError(played.code);
  return played.written;
}

BOOL deletes;
std::wstring deleted;
BOOL WINAPI Delete(LPCWSTR path) {
  deleted = path;
  // Nobody shares it, so that it must be closed by now.
  const BOOL isDeleted = ::DeleteFileW(path);
  ::SetLastError(ERROR_ACCESS_DENIED);
  return isDeleted && deletes;
}

DWORD attributes, access, share, disposition;
std::wstring created;
HANDLE WINAPI Create(LPCWSTR path, DWORD wanted, DWORD shared, LPSECURITY_ATTRIBUTES security,
                     DWORD how, DWORD flags, HANDLE model) {
  created = path;
  access = wanted, share = shared, disposition = how, attributes = flags;
  // The root of the current drive is no place for a test.
  if (created.starts_with(L'\\')) return INVALID_HANDLE_VALUE;
  return ::CreateFileW(path, wanted, shared, security, how, flags, model);
}

TEST(Writeable, Writes30BytesAndLeavesNothing) {
  const ScratchFolder folder;
  const ImportHook<decltype(::WriteFile)> write("KERNEL32.dll", "WriteFile", &Write);
  const ImportHook<decltype(::DeleteFileW)> remove("KERNEL32.dll", "DeleteFileW", &Delete);
  const ImportHook<decltype(::CreateFileW)> create("KERNEL32.dll", "CreateFileW", &Create);
  const std::pair<Played, bool> rows[] = {
      {{TRUE, 30, ERROR_SUCCESS}, true},    {{TRUE, 29, ERROR_SUCCESS}, false},
      {{TRUE, 0, ERROR_SUCCESS}, false},    {{TRUE, 31, ERROR_SUCCESS}, false},
      {{FALSE, 0, ERROR_DISK_FULL}, false}, {{FALSE, 30, ERROR_WRITE_FAULT}, false},
      {{FALSE, 0, ERROR_SUCCESS}, false}};
  for (const auto& [row, isWriteable] : rows) {
    for (const BOOL deletion : {TRUE, FALSE}) {
      played = row, deletes = deletion;
      EXPECT_EQ(IsVolumeWriteable(folder.Path().c_str()), isWriteable) << row.bytes;
      if (!isWriteable) EXPECT_EQ(::GetLastError(), row.written ? ERROR_DISK_FULL : row.code);
      EXPECT_EQ(deleted, folder / kFile);
      EXPECT_FALSE(Exists(folder / kFile));
    }
  }
  EXPECT_FALSE(IsVolumeWriteable(L""));
  EXPECT_EQ(created, L"\\_VT101_.TMP");
  EXPECT_EQ(writtenText, L"This is a test.");
  EXPECT_EQ(access, DWORD{GENERIC_WRITE});
  EXPECT_EQ(share, 0u);
  EXPECT_EQ(disposition, DWORD{CREATE_ALWAYS});
  EXPECT_EQ(attributes, DWORD{FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_TEMPORARY});
}

TEST(Writeable, MemoryRunsOut_IsNot) {
  const ScratchFolder folder;
  bool isRefused = true;
  for (long n = 1; isRefused; ++n) {
    test::Allocations allocations;
    allocations.FailAt(n);
    const bool isWriteable = IsVolumeWriteable(folder.Path().c_str());
    isRefused = allocations.Failed();
    EXPECT_NE(isWriteable, isRefused);
    if (isRefused) EXPECT_EQ(::GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
  }
  EXPECT_FALSE(Exists(folder / kFile));
}

}  // namespace
}  // namespace vtclass
