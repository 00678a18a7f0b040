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
using test::MakeFile;
using test::Replace;
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
  EXPECT_EQ(handles.Opened(), 5);
  EXPECT_EQ(handles.Open(), 0);
}

TEST(Writeable, LinkInThePlaceOfTheFile_IsNotWrittenThrough) {
  const ScratchFolder folder;
  MakeFile(folder / L"theirs", "their text");
  ASSERT_TRUE(::CreateHardLinkW((folder / kFile).c_str(), (folder / L"theirs").c_str(), nullptr));
  EXPECT_FALSE(IsVolumeWriteable(folder.Path().c_str()));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_FILE_EXISTS});
  EXPECT_EQ(FileBytes(folder / L"theirs"), "their text");
  ASSERT_TRUE(::DeleteFileW((folder / L"theirs").c_str()));
  {
    const auto link = Replace<decltype(::GetFileAttributesW)>("GetFileAttributesW", [](auto path) {
      return ::GetFileAttributesW(path) | FILE_ATTRIBUTE_REPARSE_POINT;
    });
    EXPECT_FALSE(IsVolumeWriteable(folder.Path().c_str()));
  }
  EXPECT_EQ(FileBytes(folder / kFile), "their text");
}

TEST(Writeable, NoFolder_IsNot) {
  const ScratchFolder folder;
  MakeFile(folder / L"file", "");
  EXPECT_FALSE(IsVolumeWriteable(nullptr));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  for (const std::wstring& root : {folder / L"missing", folder / L"file", std::wstring(L"<>"),
                                   folder.Path() + std::wstring(40'000, L'x')}) {
    ::SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(IsVolumeWriteable(root.c_str()));
    EXPECT_NE(::GetLastError(), DWORD{ERROR_SUCCESS});
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

TEST(Writeable, Writes30BytesAndLeavesNothing) {
  const ScratchFolder folder;
  struct Row {
    BOOL isWritten;
    DWORD bytes;
    DWORD code;
    bool isWriteable = false;
  };
  const Row* row = nullptr;
  std::wstring created, written, deleted;
  const auto write = Replace<decltype(::WriteFile)>(
      "WriteFile", [&](HANDLE file, LPCVOID data, DWORD size, LPDWORD count, auto) {
        written.assign(static_cast<const wchar_t*>(data), size / sizeof(wchar_t));
        ::WriteFile(file, data, row->bytes < size ? row->bytes : size, count, nullptr);
        *count = row->bytes;
        ::SetLastError(row->code);
        return row->isWritten;
      });
  const auto remove = Replace<decltype(::DeleteFileW)>("DeleteFileW", [&](LPCWSTR path) {
    deleted = path;
    // Nobody shares it, so that it must be closed by now.
    EXPECT_TRUE(::DeleteFileW(path));
    ::SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  });
  const auto create = Replace<decltype(::CreateFileW)>(
      "CreateFileW", [&](LPCWSTR path, DWORD access, DWORD share, auto security, DWORD how,
                         DWORD flags, HANDLE model) {
        created = path;
        // The root of the current drive is no place for a test.
        if (created.starts_with(L'\\')) return INVALID_HANDLE_VALUE;
        if (access == GENERIC_WRITE) {
          EXPECT_EQ(share, 0u);
          EXPECT_EQ(how, DWORD{CREATE_ALWAYS});
          EXPECT_EQ(flags, DWORD{FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_TEMPORARY});
        }
        return ::CreateFileW(path, access, share, security, how, flags, model);
      });
  const Row rows[] = {{TRUE, 30, ERROR_SUCCESS, true}, {TRUE, 29, ERROR_SUCCESS},
                      {TRUE, 0, ERROR_SUCCESS},        {TRUE, 31, ERROR_SUCCESS},
                      {FALSE, 0, ERROR_DISK_FULL},     {FALSE, 30, ERROR_WRITE_FAULT}};
  for (const Row& each : rows) {
    row = &each;
    EXPECT_EQ(IsVolumeWriteable(folder.Path().c_str()), each.isWriteable) << each.bytes;
    if (!each.isWriteable) {
      EXPECT_EQ(::GetLastError(), each.isWritten ? ERROR_DISK_FULL : each.code);
    }
    EXPECT_EQ(deleted, folder / kFile);
    EXPECT_FALSE(Exists(folder / kFile));
  }
  EXPECT_EQ(written, L"This is a test.");
  EXPECT_FALSE(IsVolumeWriteable(L""));
  EXPECT_EQ(created, L"\\_VT101_.TMP");
}

TEST(Writeable, MemoryRunsOut_IsNot) {
  const ScratchFolder folder;
  bool isWriteable = false;
  const auto check = [&](bool failed) {
    EXPECT_NE(isWriteable, failed);
    if (failed) EXPECT_EQ(::GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
  };
  test::TryEachAllocation([&] { isWriteable = IsVolumeWriteable(folder.Path().c_str()); }, check);
  EXPECT_FALSE(Exists(folder / kFile));
}

}  // namespace
}  // namespace vtclass
