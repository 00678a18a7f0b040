#include "tools/vtctl/volumes/watch_volumes.h"

#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <cwchar>
#include <functional>
#include <map>
#include <sstream>

#include <nlohmann/json.hpp>

#include "platform/owned.h"
#include "tests/support/answered_look_ups.h"
#include "tests/support/fake_volumes.h"
#include "tests/support/import_hook.h"
#include "tests/support/run_vtctl.h"
#include "tests/support/scratch_folder.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/exit_code.h"
#include "tools/vtctl/shared/interrupt.h"
#include "tools/vtctl/volumes/volume_text.h"

namespace vtctl {
namespace {

using vtclass::test::FakeVolumeName;
using vtclass::test::FakeVolumes;
using vtclass::test::ImportHook;

std::map<std::wstring, std::wstring> pathLists;  // as the system gives them

BOOL WINAPI PathNames(LPCWSTR volume, LPWSTR paths, DWORD room, PDWORD needed) {
  const auto list = pathLists.find(volume);
  if (list == pathLists.end()) {
    return ::GetVolumePathNamesForVolumeNameW(volume, paths, room, needed);
  }
  *needed = static_cast<DWORD>(list->second.size() + 1);
  ::SetLastError(ERROR_MORE_DATA);
  if (room < *needed) return FALSE;
  std::wmemcpy(paths, list->second.c_str(), *needed);
  return TRUE;
}

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
  const bool isPathNames =
      !IS_INTRESOURCE(name) && std::strcmp(name, "GetVolumePathNamesForVolumeNameW") == 0;
  return isPathNames ? std::bit_cast<FARPROC>(&PathNames) : FakeVolumes::LookUp(module, name);
}

[[maybe_unused]] auto* const lookUps = vtclass::test::AnswerLookUps(&LookUp);

std::map<std::wstring, DWORD> unreached;  // roots with the reason
std::map<std::wstring, UINT> types;
DWORD flags;

BOOL WINAPI Information(LPCWSTR root, LPWSTR label, DWORD, LPDWORD, LPDWORD, LPDWORD flagsOut,
                        LPWSTR fileSystem, DWORD) {
  if (unreached.contains(root)) {
    ::SetLastError(unreached[root]);
    return FALSE;
  }
  ::lstrcpyW(label, L"Played");
  ::lstrcpyW(fileSystem, L"NTFS");
  *flagsOut = flags;
  return TRUE;
}
DWORD WINAPI Attributes(LPCWSTR) { return FILE_ATTRIBUTE_DIRECTORY; }
UINT WINAPI Type(LPCWSTR root) { return types.contains(root) ? types[root] : DRIVE_FIXED; }

std::vector<std::wstring> written;  // where a file was to be made
HANDLE WINAPI Refuse(LPCWSTR path, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) {
  written.emplace_back(path);
  ::SetLastError(path[0] == L'D' ? ERROR_SHARING_VIOLATION : ERROR_ACCESS_DENIED);
  return INVALID_HANDLE_VALUE;
}

// Volumes 1 to 3 on C:, D: and E:.
class PlayedVolumes : public testing::Test {
 protected:
  PlayedVolumes() {
    pathLists.clear();
    unreached.clear();
    types.clear();
    written.clear();
    flags = 0;
    for (unsigned i = 0; i < 3; ++i) {
      const std::wstring root = {static_cast<wchar_t>(L'C' + i), L':', L'\\'};
      fake.AddDrive(root, FakeVolumeName(i + 1));
      fake.spaces[root] = {60 << 20, 100 << 20, 60 << 20};
    }
  }

  std::string Watched(const WatchOptions& options, int exitCode) {
    const vtclass::test::ScratchFolder folder;
    const std::wstring path = folder / L"output";
    const HANDLE before = ::GetStdHandle(STD_OUTPUT_HANDLE);
    const vtclass::platform::OwnedFile file(::CreateFileW(
        path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW, 0, nullptr));
    EXPECT_TRUE(file) << ::GetLastError();
    ::SetStdHandle(STD_OUTPUT_HANDLE, file.Get());
    EXPECT_EQ(WatchVolumes(options), exitCode);
    ::SetStdHandle(STD_OUTPUT_HANDLE, before);
    return vtclass::test::FileBytes(path);
  }

  FakeVolumes fake;
  const HMODULE program = ::GetModuleHandleW(nullptr);
  const ImportHook<decltype(::GetVolumeInformationW)> information{
      "KERNEL32.dll", "GetVolumeInformationW", &Information, program};
  const ImportHook<decltype(::GetFileAttributesW)> attributes{"KERNEL32.dll", "GetFileAttributesW",
                                                              &Attributes, program};
  const ImportHook<decltype(::GetDriveTypeW)> type{"KERNEL32.dll", "GetDriveTypeW", &Type, program};
};

TEST_F(PlayedVolumes, ListVolumes_InTheOrderOfTheirPaths) {
  fake.volumes.insert(fake.volumes.begin(), FakeVolumeName(9));
  std::swap(fake.volumes[1], fake.volumes[3]);
  fake.AddMount(FakeVolumeName(2), L"data\\", FakeVolumeName(4));
  fake.volumes.push_back(FakeVolumeName(4));
  const VolumeList list = ListVolumes(WriteTest::none);
  EXPECT_EQ(list.error, 0U);
  std::wstring places;
  for (const Volume& volume : list.volumes) places += ShownPlace(volume) + L" ";
  EXPECT_EQ(places, L"C:\\ D:\\ D:\\data\\ E:\\ " + FakeVolumeName(9) + L" ");
  EXPECT_TRUE(list.volumes.back().paths.empty());
  EXPECT_EQ(list.volumes[0].occupiedSpace, 40U << 20);
  EXPECT_FALSE(list.volumes[0].isWritable.has_value());
}

TEST_F(PlayedVolumes, ListVolumes_NamesAllPathsOfAVolume) {
  const std::wstring deep = L"C:\\" + std::wstring(300, L'x') + L"\\";
  pathLists[FakeVolumeName(1)] = L"C:\\" + std::wstring(1, L'\0') + deep + std::wstring(1, L'\0');
  pathLists[FakeVolumeName(2)] = std::wstring(1, L'\0');  // the system says that there is none
  const VolumeList list = ListVolumes(WriteTest::none);
  ASSERT_EQ(list.volumes.size(), 3U);
  EXPECT_EQ(list.volumes[0].paths, (std::vector<std::wstring>{L"C:\\", deep}));
  EXPECT_EQ(list.volumes[2].name, FakeVolumeName(2));
  EXPECT_TRUE(list.volumes[2].paths.empty());
}

TEST_F(PlayedVolumes, ListVolumes_WritesOnlyWhereItMakesSense) {
  const ImportHook<decltype(::CreateFileW)> hook("KERNEL32.dll", "CreateFileW", &Refuse);
  unreached[L"E:\\"] = ERROR_NOT_READY;
  VolumeList list = ListVolumes(WriteTest::file);
  EXPECT_EQ(written, (std::vector<std::wstring>{L"C:\\_VT101_.TMP", L"D:\\_VT101_.TMP"}));
  EXPECT_EQ(list.volumes[0].isWritable, false);
  EXPECT_EQ(list.volumes[0].writeError, static_cast<DWORD>(ERROR_ACCESS_DENIED));
  EXPECT_EQ(list.volumes[1].isWritable, std::nullopt) << "somebody else is testing";
  EXPECT_EQ(list.volumes[2].error, static_cast<DWORD>(ERROR_NOT_READY));
  EXPECT_TRUE(IsMissed(list.volumes[2]));
  EXPECT_EQ(list.volumes[2].isWritable, std::nullopt);

  written.clear();
  types[L"C:\\"] = types[L"E:\\"] = DRIVE_CDROM;
  list = ListVolumes(WriteTest::file);
  EXPECT_EQ(list.volumes[0].isWritable, false);
  EXPECT_FALSE(IsMissed(list.volumes[2]));
  flags = FILE_READ_ONLY_VOLUME;
  list = ListVolumes(WriteTest::file);
  EXPECT_EQ(list.volumes[1].writeError, static_cast<DWORD>(ERROR_WRITE_PROTECT));
  EXPECT_EQ(written.size(), 1U);
}

TEST_F(PlayedVolumes, ListVolumes_ThatDoesNotGetOn_EndsWithTheReason) {
  fake.fails = vtclass::test::FailCalls("FindNextVolumeW", ERROR_IO_DEVICE, 2, 1000);
  const VolumeList list = ListVolumes(WriteTest::none);
  EXPECT_EQ(list.error, static_cast<DWORD>(ERROR_IO_DEVICE));
  EXPECT_EQ(list.volumes.size(), 2U);
  // Failures that pass leave nothing out.
  fake.fails = vtclass::test::FailCalls("FindNextVolumeW", ERROR_IO_DEVICE, 2, 9);
  EXPECT_EQ(ListVolumes(WriteTest::none).volumes.size(), 3U);
}

TEST(Update, TellsEachChangeOnce) {
  Volume a, b;
  a.name = L"a";
  b.name = L"b";
  a.freeSpace = b.freeSpace = 1000;
  std::vector<Volume> known = {a, b};
  Volume lower = a;
  lower.freeSpace = 951;
  Volume labelled = b;
  labelled.label = L"new";
  labelled.freeSpace = 0;
  Volume tested = labelled;
  tested.isWritable = true;
  const struct {
    std::vector<Volume> now;
    std::vector<VolumeChange::Kind> kinds;
  } rows[] = {{{a, b}, {}},
              {{lower, b}, {}},
              {{b}, {VolumeChange::left}},
              {{b, a}, {VolumeChange::arrived}},
              {{a, labelled}, {VolumeChange::changed}},
              {{a, tested}, {}}};
  for (const auto& row : rows) {
    std::vector<VolumeChange::Kind> kinds;
    for (const VolumeChange& change : Update(known, row.now, 50)) kinds.push_back(change.kind);
    EXPECT_EQ(kinds, row.kinds);
  }
  // Many small steps are a large one in the end.
  lower.freeSpace = 960;
  EXPECT_TRUE(Update(known, {lower, labelled}, 50).empty());
  lower.freeSpace = 950;
  const std::vector<VolumeChange> changes = Update(known, {lower, labelled}, 50);
  ASSERT_EQ(changes.size(), 1U);
  EXPECT_EQ(changes[0].kind, VolumeChange::freeSpace);
  EXPECT_EQ(changes[0].freeSpaceBefore, 1000U);
  EXPECT_TRUE(Update(known, {lower, labelled}, 0).empty()) << "nothing has changed";
}

TEST_F(PlayedVolumes, Watch_TellsWhatArrivesLeavesAndFillsUp) {
  CatchInterrupts();
  int looks = 0;
  fake.fails = [&](std::string_view function) -> DWORD {
    if (function != "FindFirstVolumeW") return ERROR_SUCCESS;
    switch (++looks) {
      case 2:
        fake.volumes.pop_back();
        break;
      case 3:
        fake.AddDrive(L"E:\\", FakeVolumeName(3));
        fake.spaces[L"C:\\"].free -= 8 << 20;
        break;
      case 4:
        unreached[L"D:\\"] = ERROR_NOT_READY;
        break;
      case 5:
        ::SetEvent(InterruptEvent());
        break;
      default:
        break;
    }
    return ERROR_SUCCESS;
  };
  std::istringstream text(Watched({0, 1, false, 1}, kExitCancelled));
  ::ResetEvent(InterruptEvent());
  const char* const expected[] = {"Watching 3 volumes; Ctrl+C ends it.", "  left        E:\\",
                                  "  free space  C:\\  52.0 MB of 100.0 MB, 8.0 MB less",
                                  "  arrived     E:\\  \"Played\"  NTFS, 60.0 MB free of 100.0 MB",
                                  "  changed     D:\\  cannot be reached: no medium is"};
  std::string line;
  for (const char* const part : expected) {
    std::getline(text, line);
    EXPECT_NE(line.find(part), std::string::npos) << line;
  }
  EXPECT_FALSE(std::getline(text, line)) << line;
}

// A list that breaks off tells nothing of what it did not come to.
TEST_F(PlayedVolumes, Watch_TakesABrokenListForNoDeparture) {
  CatchInterrupts();
  int looks = 0;
  fake.fails = [&](std::string_view function) -> DWORD {
    if (function == "FindFirstVolumeW") ++looks;
    if (looks == 4) ::SetEvent(InterruptEvent());
    return looks == 2 && function == "FindNextVolumeW" ? ERROR_IO_DEVICE : ERROR_SUCCESS;
  };
  EXPECT_EQ(Watched({0, 1, true, 1}, kExitCancelled), "");
  ::ResetEvent(InterruptEvent());
  fake.fails = vtclass::test::FailCalls("FindNextVolumeW", ERROR_IO_DEVICE, 1, 1000);
  Watched({1, 1, true, 1}, kExitNoAnswer);
}

// The machine's real drives.
TEST(VolumesCommand, TheSameVolumesInEachForm) {
  test::VtctlRun run({L"volumes", L"--json"});
  EXPECT_LE(run.ExitCode(), kExitWarnings) << run.ErrorOutput();
  const auto json = nlohmann::json::parse(run.Output());
  EXPECT_EQ(json["error"], nullptr);
  test::VtctlRun csv({L"volumes", L"--csv", L"--no-write-test"});
  EXPECT_EQ(csv.ExitCode(), run.ExitCode());
  test::VtctlRun text({L"volumes", L"--no-write-test"});
  EXPECT_EQ(text.ExitCode(), run.ExitCode());
  bool hasC = false;
  for (const auto& volume : json["volumes"]) {
    const auto name = volume["name"].get<std::string>();
    EXPECT_NE(csv.Output().find("\r\n" + name + ","), std::string::npos) << name;
    EXPECT_NE(text.Output().find("    " + name + "\n"), std::string::npos) << name;
    if (volume["paths"] != nlohmann::json::array({"C:\\"})) continue;
    hasC = true;
    EXPECT_EQ(volume["writable"], true);
    EXPECT_EQ(volume["type"], "fixed");
    EXPECT_EQ(volume["clusterShared"], false);
    EXPECT_GT(volume["totalSpace"], volume["freeSpace"]);
    EXPECT_EQ(volume["clusterSize"].get<unsigned>() % volume["sectorSize"].get<unsigned>(), 0U);
  }
  EXPECT_TRUE(hasC) << run.Output();
  EXPECT_EQ(::GetFileAttributesW(L"C:\\_VT101_.TMP"), INVALID_FILE_ATTRIBUTES);
  EXPECT_NE(csv.Output().find(",,,false,true,"), std::string::npos) << "written without leave";

  test::VtctlRun watch({L"volumes", L"--watch", L"--for", L"1", L"--step", L"1000000"});
  EXPECT_EQ(watch.ExitCode(), kExitClean);
  EXPECT_TRUE(watch.Output().starts_with("Watching ")) << watch.Output();
}

}  // namespace
}  // namespace vtctl
