// Sessions on volumes, mount points and spaces that tests play.
#include <cwchar>

#include <nlohmann/json.hpp>

#include "tests/support/fake_volumes.h"
#include "tests/support/run_here.h"
#include "tests/support/session_fixture.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/exit_code.h"

namespace vtctl {
namespace {

using vtclass::test::FakeVolumeName;
using vtclass::test::FakeVolumes;
using vtclass::test::ImportHook;
using vtclass::test::MakeFile;

[[maybe_unused]] auto* const lookUps = FakeVolumes::AnswerLookUps();

// Folders named "mount" and "junction" are reparse points, and whatever is named "point".
bool IsReparsePoint(std::wstring_view path) {
  return path.ends_with(L"\\mount") || path.ends_with(L"\\junction");
}

DWORD tagOfPoint;
void MarkReparsePoint(WIN32_FIND_DATAW& entry) {
  const bool isPoint = std::wcscmp(entry.cFileName, L"point") == 0;
  if (!isPoint && !IsReparsePoint(std::wstring(L"\\") + entry.cFileName)) return;
  entry.dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
  entry.dwReserved0 = isPoint ? tagOfPoint : IO_REPARSE_TAG_MOUNT_POINT;
}

decltype(::FindFirstFileExW)* realFindFirst = nullptr;
HANDLE WINAPI FindFirst(LPCWSTR path, FINDEX_INFO_LEVELS level, LPVOID data, FINDEX_SEARCH_OPS how,
                        LPVOID filter, DWORD flags) {
  const HANDLE find = realFindFirst(path, level, data, how, filter, flags);
  if (find != INVALID_HANDLE_VALUE) MarkReparsePoint(*static_cast<WIN32_FIND_DATAW*>(data));
  return find;
}

decltype(::FindNextFileW)* realFindNext = nullptr;
BOOL WINAPI FindNext(HANDLE find, LPWIN32_FIND_DATAW entry) {
  const BOOL found = realFindNext(find, entry);
  if (found) MarkReparsePoint(*entry);
  return found;
}

DWORD WINAPI Attributes(LPCWSTR path) {
  const DWORD attributes = ::GetFileAttributesW(path);
  return IsReparsePoint(path) ? attributes | FILE_ATTRIBUTE_REPARSE_POINT : attributes;
}

std::atomic<bool> isJunction;
HANDLE WINAPI Open(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                   DWORD how, DWORD flags, HANDLE like) {
  isJunction = std::wstring_view(path).ends_with(L"\\junction");
  return ::CreateFileW(path, access, share, security, how, flags, like);
}

BOOL WINAPI Control(HANDLE, DWORD, LPVOID, DWORD, LPVOID data, DWORD, LPDWORD size, LPOVERLAPPED) {
  const auto bytes =
      vtclass::test::MountPoint(isJunction ? L"\\??\\C:\\elsewhere" : L"\\??\\Volume{2}\\");
  std::memcpy(data, bytes.data(), bytes.size());
  *size = static_cast<DWORD>(bytes.size());
  return TRUE;
}

FakeVolumes* played;
std::wstring playedRoot;

// Volume 1 holds the tree, volume 2 is mounted in it, and volume 1 again in that.
class SessionVolumes : public SessionTest {
 protected:
  SessionVolumes() {
    const std::wstring tree = scratch / L"tree";
    for (const wchar_t* const name : {L"\\mount", L"\\mount\\mount", L"\\junction"}) {
      ::CreateDirectoryW((tree + name).c_str(), nullptr);
      MakeFile(tree + name + L"\\inside.txt", "12345");
    }
    const std::wstring root = request.root.System().substr(0, 7);
    fake.AddDrive(root, FakeVolumeName(1));
    fake.AddDrive(Path(root).Shown(), FakeVolumeName(1));
    fake.leadsTo[request.root.System() + L"\\mount\\"] = FakeVolumeName(2);
    fake.leadsTo[request.root.System() + L"\\mount\\mount\\"] = FakeVolumeName(1);
    fake.spaces[root] = {7, 5000000, 3000000};
    realFindFirst = first.Original();
    realFindNext = next.Original();
    played = &fake;
    playedRoot = root;
  }

  FakeVolumes fake;
  const HMODULE program = ::GetModuleHandleW(nullptr);
  const ImportHook<decltype(::FindFirstFileExW)> first{"KERNEL32.dll", "FindFirstFileExW",
                                                       &FindFirst, program};
  const ImportHook<decltype(::FindNextFileW)> next{"KERNEL32.dll", "FindNextFileW", &FindNext,
                                                   program};
  const ImportHook<decltype(::GetFileAttributesW)> attributes{"KERNEL32.dll", "GetFileAttributesW",
                                                              &Attributes};
  const ImportHook<decltype(::CreateFileW)> open{"KERNEL32.dll", "CreateFileW", &Open};
  const ImportHook<decltype(::DeviceIoControl)> control{"KERNEL32.dll", "DeviceIoControl",
                                                        &Control};
};

TEST_F(SessionVolumes, MountedVolumes_AreReadOnlyWhenAsked) {
  request.workers = 1;
  SessionResult result = Run();
  EXPECT_EQ(result.totals.files, 2U);
  EXPECT_EQ(result.totals.skipped, 2U);
  ASSERT_EQ(result.findings.size(), 1U) << "the junction is no warning";
  EXPECT_TRUE(LineOf(result.findings[0]).starts_with(L"Q-79-41041-4007 - "))
      << LineOf(result.findings[0]);
  EXPECT_EQ(LogText(result).find(L"<mount_points_followed>"), std::wstring::npos);

  request.crossVolumes = true;
  result = Run();
  EXPECT_EQ(result.totals.files, 3U);
  EXPECT_EQ(result.totals.skipped, 2U);
  ASSERT_EQ(result.findings.size(), 1U);
  EXPECT_TRUE(LineOf(result.findings[0]).starts_with(L"Q-79-41041-4016 - "))
      << LineOf(result.findings[0]);
  EXPECT_TRUE(
      LineOf(result.findings[0])
          .ends_with(
              L"\\mount\\mount leads back to a volume that it lies on and was not followed."));
  const std::wstring text = LogText(result);
  EXPECT_NE(text.find(L"\\mount is the mount point of the volume " + FakeVolumeName(2)),
            std::wstring::npos);
  EXPECT_NE(text.find(L"<mount_points_followed>"), std::wstring::npos);
  EXPECT_NE(text.find(L"\\tree\\junction is a link to another place"), std::wstring::npos);

  // What volume it is cannot be told, so neither can whether it leads back.
  fake.leadsTo.erase(request.root.System() + L"\\mount\\");
  result = Run();
  EXPECT_EQ(result.totals.files, 2U);
  EXPECT_TRUE(LineOf(result.findings[0]).starts_with(L"Q-79-41041-4007 - "));
}

// What holds what it lists is read, such as the folders of a cloud's client.
TEST_F(SessionVolumes, ReparsePoints_AreLinksByTheirTag) {
  const std::wstring folder = scratch / L"tree\\sub\\point";
  ::CreateDirectoryW(folder.c_str(), nullptr);
  MakeFile(folder + L"\\point", "12345");
  request.root = Path(scratch / L"tree\\sub");
  const struct {
    DWORD tag;
    bool isLink;
  } rows[] = {{0x9000001A, false},  // of a cloud
              {0x9000701A, false},
              {0x80000013, false},  // deduplicated
              {IO_REPARSE_TAG_SYMLINK, true},
              {0, true}};
  for (const auto& row : rows) {
    tagOfPoint = row.tag;
    const SessionResult result = Run();
    EXPECT_EQ(result.totals.files, row.isLink ? 1U : 2U) << row.tag;
    EXPECT_EQ(result.totals.skipped, row.isLink ? 1U : 0U) << row.tag;
  }
}

TEST_F(SessionVolumes, Volume_StandsInTheLogWithItsSpaceBeforeAndAfter) {
  request.stopRequested = [] {
    played->spaces[playedRoot].free = 2000000;
    return false;
  };
  const SessionResult result = Run();
  EXPECT_EQ(result.volume.name, FakeVolumeName(1));
  EXPECT_EQ(result.volume.freeBefore, 3000000U);
  EXPECT_EQ(result.volume.freeAfter, 2000000U);
  const std::wstring text = LogText(result);
  const std::wstring lines[] = {
      L"<volume_name>Volume: " + Path(playedRoot).Shown() + L" (" + FakeVolumeName(1) + L")<",
      L"<note>Free space of the volume before: 3,000,000 bytes (2.8 MB)<",
      L"<note>Free space of the volume after: 2,000,000 bytes (1.9 MB)<"};
  size_t at = 0;
  for (const std::wstring& line : lines) {
    at = text.find(line, at);
    EXPECT_NE(at, std::wstring::npos) << ToUtf8(line) << " in its order";
  }
  EXPECT_EQ(result.summary[8], L"Free space of the volume after: 2,000,000 bytes (1.9 MB)");
}

TEST_F(SessionVolumes, Volume_ThatTheSystemDoesNotTell_IsLeftOut) {
  fake.leadsTo.clear();
  fake.spaces.clear();
  const SessionResult result = Run();
  EXPECT_EQ(result.status, SessionResult::exceptions) << "the mount point alone";
  const std::wstring text = LogText(result);
  EXPECT_EQ(text.find(L"<volume_name>"), std::wstring::npos);
  EXPECT_EQ(text.find(L"Free space"), std::wstring::npos);
  EXPECT_EQ(result.volume.freeBefore, std::nullopt);
}

TEST_F(SessionVolumes, LogVolumeNearlyFull_IsToldBeforehandAndChangesNothing) {
  ::RemoveDirectoryW((scratch / L"tree\\mount\\mount").c_str());
  request.root = Path(scratch / L"tree\\sub");
  const std::wstring folder = request.out.System() + L"\\";
  const struct {
    ULONGLONG freeToUser;
    const char* told;
  } rows[] = {
      {(100 << 20) - 1, "vtctl: The job log may end early: only 99.9 MB are free for it in "},
      {0, "only 0 B are free"},
      {100 << 20, nullptr}};
  for (const auto& row : rows) {
    fake.spaces[folder] = {row.freeToUser, 1 << 30, 1 << 30};
    const test::RunHere run(AddSessionCommand,
                            {L"session", L"--json", L"--language", L"EN", L"--root",
                             request.root.Written(), L"--out", request.out.Written()});
    EXPECT_EQ(run.code, kExitClean);
    const auto json = nlohmann::json::parse(run.output);
    EXPECT_EQ(json["volume"]["name"], ToUtf8(FakeVolumeName(1)));
    EXPECT_EQ(json["volume"]["freeSpaceBefore"], 3000000);
    SessionResult result;
    result.logPath = Path(FromUtf8(json["jobLog"].get<std::string>()));
    const bool isNoted = LogText(result).find(L"<note>The job log may end") != std::wstring::npos;
    EXPECT_EQ(isNoted, row.told != nullptr);
    if (row.told) {
      EXPECT_NE(run.errors.find(row.told), std::string::npos) << run.errors;
    } else {
      EXPECT_EQ(run.errors, "");
    }
  }
  fake.spaces.erase(folder);
  EXPECT_EQ(LogSpaceWarning(messages, request.out), L"") << "nobody knows how much there is";
}

}  // namespace
}  // namespace vtctl
