#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <utility>
#include <vector>

#include "config/replica_names.h"
#include "tests/support/import_hook.h"
#include "tests/support/scratch_folder.h"
#include "vtclass/replication.h"

namespace vtclass::test {
namespace {

using config::DataFileName;
using config::NextTemporaryNumber;
using config::ParentLength;
using config::TemporaryFileName;

bool Exists(const std::wstring& path) {
  return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

TEST(ReplicaNames, AreMadeOfPathsAndNumbers) {
  EXPECT_EQ(DataFileName(L"Software\\A\\B", L"D:\\Rep\\"), L"D:\\Rep\\Software_A_B.dat");
  EXPECT_EQ(DataFileName(L"Software", L"D:\\Rep"), L"D:\\RepSoftware.dat");
  EXPECT_EQ(DataFileName(L"A\\", L"\\"), L"\\A_.dat");
  EXPECT_EQ(DataFileName(L"", L""), L".dat");
  EXPECT_EQ(TemporaryFileName(L"D:\\Rep\\\\", 7), L"D:\\Rep\\RegRep7.dat");
  EXPECT_EQ(TemporaryFileName(L"\\", 99), L"\\RegRep99.dat");
  std::atomic<unsigned> last = 0;
  EXPECT_EQ(NextTemporaryNumber(last), 1u);
  last = 98;
  EXPECT_EQ(NextTemporaryNumber(last), 99u);
  EXPECT_EQ(NextTemporaryNumber(last), 1u);
  for (const auto& [path, length] :
       std::vector<std::pair<std::wstring, std::size_t>>{{L"C:\\a\\b", 4},
                                                         {L"C:\\a\\\\b\\\\", 5},
                                                         {L"C:\\a", 2},
                                                         {L"C:\\", 0},
                                                         {L"a", 0},
                                                         {L"\\a", 0},
                                                         {L"\\\\srv\\s", 5},
                                                         {L"\\\\srv", 1},
                                                         {L"\\\\", 0},
                                                         {L"", 0},
                                                         {L"\\\\?\\C:\\a\\b", 8},
                                                         {L"\\\\?\\C:\\a\\", 0},
                                                         {L"\\\\?\\C:", 0}}) {
    EXPECT_EQ(ParentLength(path), length) << testing::PrintToString(path);
  }
}

TEST(CreateDirectoryPath, MakesWhatIsMissing_AndTellsWhatStandsInTheWay) {
  const ScratchFolder scratch;
  const std::wstring longName(200, L'n');
  const std::wstring system = L"\\\\?\\" + scratch.Path();
  const std::wstring file = scratch / L"file";
  MakeFile(file, "");
  const struct {
    std::wstring path;
    DWORD status;
  } rows[] = {{scratch.Path(), ERROR_SUCCESS},
              {scratch / L"a", ERROR_SUCCESS},
              {scratch / L"b\\c\\\\d\\\\", ERROR_SUCCESS},
              {scratch / longName + L"\\" + longName, ERROR_SUCCESS},
              {system + L"\\x.\\y ", ERROR_SUCCESS},
              {system + L"\\x.\\y \\\\", ERROR_SUCCESS},
              {system + L"\\z\\\\", ERROR_SUCCESS},
              {scratch / L"w \\v", ERROR_SUCCESS},
              {scratch / (L"n" + std::wstring(33000, L'n')), ERROR_FILENAME_EXCED_RANGE},
              {file, ERROR_ALREADY_EXISTS},
              {file + L"\\", ERROR_ALREADY_EXISTS},
              {file + L"\\a\\b", ERROR_ALREADY_EXISTS}};
  for (const auto& row : rows) {
    EXPECT_EQ(CreateDirectoryPath(row.path), row.status == ERROR_SUCCESS);
    if (row.status != ERROR_SUCCESS) EXPECT_EQ(::GetLastError(), row.status);
  }
  EXPECT_TRUE(Exists(scratch / L"b\\c\\d"));
  EXPECT_TRUE(Exists(system + L"\\" + longName + L"\\" + longName));
  // What plain paths do not reach is not left to the folder's end.
  EXPECT_TRUE(::RemoveDirectoryW((system + L"\\x.\\y ").c_str()));
  EXPECT_TRUE(::RemoveDirectoryW((system + L"\\x.").c_str()));
  EXPECT_TRUE(::RemoveDirectoryW((system + L"\\w \\v").c_str()));
  EXPECT_TRUE(::RemoveDirectoryW((system + L"\\w ").c_str()));
  EXPECT_TRUE(::RemoveDirectoryW((system + L"\\" + longName + L"\\" + longName).c_str()));
  EXPECT_TRUE(::RemoveDirectoryW((system + L"\\" + longName).c_str()));
  for (const std::wstring& impossible : {std::wstring(), std::wstring(L"a<"), scratch / L"q\\a<\\b",
                                         std::wstring(L"\\\\vtclass.invalid\\share\\x")}) {
    ::SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(CreateDirectoryPath(impossible));
    EXPECT_NE(::GetLastError(), 0u);
  }
  // The second attempt decides, also where somebody else was first.
  int calls = 0;
  const auto make = Replace<decltype(::CreateDirectoryW)>("CreateDirectoryW", [&](auto...) {
    ::SetLastError(++calls == 1 ? ERROR_PATH_NOT_FOUND : ERROR_ALREADY_EXISTS);
    return FALSE;
  });
  EXPECT_FALSE(CreateDirectoryPath(scratch / L"raced"));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
  EXPECT_EQ(calls, 2);
}

}  // namespace
}  // namespace vtclass::test
