#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <list>
#include <string>
#include <vector>

#include "tests/support/answered_look_ups.h"
#include "tests/support/fake_volumes.h"
#include "tests/support/import_hook.h"
#include "tests/support/library_copy.h"
#include "vtclass/volumes.h"

// In this program kernel32.dll lacks all functions that not every system has. Addresses stay bound,
// so that a process can only ever lack or have them; what lacks some of them is a copy of the DLL.

namespace vtclass {
namespace {

using test::FakeVolumeName;
using test::FakeVolumes;
using test::ImportHook;

constexpr const char* kFunctions[] = {
    "FindFirstVolumeW",
    "FindNextVolumeW",
    "FindVolumeClose",
    "FindFirstVolumeMountPointW",
    "FindNextVolumeMountPointW",
    "FindVolumeMountPointClose",
    "GetVolumePathNameW",
    "GetVolumeNameForVolumeMountPointW",
    "GetVolumePathNamesForVolumeNameW",
    "GetVolumeNameForVolumeMountPointA",
    "SetFileShortNameW",
    "GetThreadId",
};
constexpr DWORD kFirstCode = 1000;

// The code that tells the function missing; 0 for one that nobody lacks.
DWORD CodeOf(const char* name) {
  DWORD code = kFirstCode;
  for (const char* const function : kFunctions) {
    if (std::strcmp(function, name) == 0) return code;
    ++code;
  }
  return 0;
}

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
  const bool isMissing = !IS_INTRESOURCE(name) && CodeOf(name) != 0;
  if (isMissing) ::SetLastError(ERROR_PROC_NOT_FOUND);
  return isMissing ? nullptr : ::GetProcAddress(module, name);
}

[[maybe_unused]] auto* const lookUps = test::AnswerLookUps(&LookUp);

TEST(MissingFunctions, LibraryLoadsWithoutThem) {
  for (const char* const function : kFunctions) {
    EXPECT_EQ(test::FindImport(test::LibraryUnderTest(), "KERNEL32.dll", function), nullptr);
  }
}

TEST(MissingFunctions, IteratorsThrowTheCode) {
  const UINT mode = ::SetErrorMode(SEM_NOGPFAULTERRORBOX);
  const auto thrown = [](auto make) -> unsigned long {
    try {
      make();
    } catch (const unsigned long code) {
      return code;
    }
    return 0;
  };
  EXPECT_EQ(thrown([] { vol_it(); }), 127ul);
  EXPECT_EQ(::SetErrorMode(mode), UINT{SEM_NOGPFAULTERRORBOX});
  const wcstring volume = FakeVolumeName(1);
  EXPECT_EQ(thrown([&] { mp_it it(volume); }), 127ul);
  mp_it it;
  EXPECT_EQ(thrown([&] { it = volume; }), 127ul);
  EXPECT_EQ(it, mp_it());
  EXPECT_EQ(std::uncaught_exceptions(), 0);

  wcstring text = L"C:\\windows";
  EXPECT_FALSE(get_raw_vol_name()(text)) << "without a path there is nothing to ask";
  EXPECT_EQ(text, L"C:\\windows");
}

TEST(MissingFunctions, NothingElseThrows) {
  FakeVolumes fake;
  fake.AddDrive(L"C:\\", FakeVolumeName(1));
  EXPECT_FALSE(unmounted_drive()(FakeVolumeName(2))) << "what cannot be searched is not unmounted";
  wcstring text = FakeVolumeName(2);
  translate_vol_name()(text);
  EXPECT_EQ(text, FakeVolumeName(2));
  EXPECT_EQ(get_volume_name_for_mount_point(wcstring(L"C:\\")), L"C:\\");
  EXPECT_EQ(get_volume_name_for_mount_point(cstring("C:\\")), "C:\\");
  EXPECT_EQ(get_volume_path_name(L"C:\\windows"), L"");

  fake.version = 4;
  EXPECT_EQ((std::list<wcstring>{vol_it(), vol_it::end()}), std::list<wcstring>{L"C:\\"});
  EXPECT_EQ(mp_it(FakeVolumeName(1)), mp_it());
}

TEST(MissingFunctions, Kernel32Glue_AnswersThatTheyAre) {
  Kernel32Glue& glue = *Kernel32Glue::GetInstance();
  EXPECT_FALSE(glue.OK());
  wchar_t text[] = L"left alone";
  DWORD number = 7;
  const std::function<bool()> calls[] = {
      [&] { return glue.FindFirstVolumeW(text, 10) == INVALID_HANDLE_VALUE; },
      [&] { return !glue.FindNextVolumeW(nullptr, text, 10); },
      [&] { return !glue.FindVolumeClose(nullptr); },
      [&] { return glue.FindFirstVolumeMountPointW(text, text, 10) == INVALID_HANDLE_VALUE; },
      [&] { return !glue.FindNextVolumeMountPointW(nullptr, text, 10); },
      [&] { return !glue.FindVolumeMountPointClose(nullptr); },
      [&] { return !glue.GetVolumePathNameW(L"C:\\", text, 10); },
      [&] { return !glue.GetVolumePathNamesForVolumeNameW(L"C:\\", text, 10, &number); },
      [&] { return !glue.GetVolumeNameForVolumeMountPointW(L"C:\\", text, 10); },
      [&] { return !glue.SetShortFileName(nullptr, text); },
      [&] { return glue.GetThreadId(::GetCurrentThread()) == 0; },
  };
  int index = 0;
  for (const auto& call : calls) {
    ::SetLastError(ERROR_SUCCESS);
    EXPECT_TRUE(call()) << index;
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_PROC_NOT_FOUND}) << index++;
  }
  EXPECT_STREQ(text, L"left alone");
  EXPECT_EQ(number, 7u);
}

// A copy of the DLL whose system lacks `missing` and what stands behind it in the table.
const char* missing;
FARPROC WINAPI LookUpSome(HMODULE module, LPCSTR name) {
  const DWORD code = IS_INTRESOURCE(name) ? 0 : CodeOf(name);
  if (code == 0 || code < CodeOf(missing)) return FakeVolumes::LookUp(module, name);
  ::SetLastError(code);
  return nullptr;
}

TEST(MissingFunctions, Kernel32Glue_NeedsItsCore) {
  // Each stands behind what the row before it has.
  const std::pair<const char*, bool> rows[] = {{"GetVolumePathNameW", false},
                                               {"GetVolumePathNamesForVolumeNameW", false},
                                               {"GetVolumeNameForVolumeMountPointA", true}};
  for (const auto& [function, isOk] : rows) {
    const test::LibraryCopy copy(L"vtclass_mini.dll");
    const ImportHook<decltype(::GetProcAddress)> lookUp("KERNEL32.dll", "GetProcAddress",
                                                        &LookUpSome, copy.Module());
    missing = function;
    EXPECT_EQ(copy(&Kernel32Glue::GetInstance)()->OK(), isOk) << function;
    copy (&Kernel32Glue::DestroyInstance)();
  }
}

class MissingFunction : public ::testing::TestWithParam<const char*> {
 protected:
  MissingFunction() { missing = GetParam(); }

  test::LibraryCopy copy{L"vtclass_mini.dll"};
  ImportHook<decltype(::GetProcAddress)> lookUp{"KERNEL32.dll", "GetProcAddress", &LookUpSome,
                                                copy.Module()};
  FakeVolumes fake;
};

TEST_P(MissingFunction, FirstOneIsTold_NothingIsBegun) {
  const std::string name = GetParam();
  const DWORD code = CodeOf(GetParam());
  const wcstring one = FakeVolumeName(1);
  fake.AddDrive(L"C:\\", one);
  fake.AddMount(one, L"a\\", one);
  const UINT mode = ::SetErrorMode(SEM_NOGPFAULTERRORBOX);

  border::Failure failure;
  EXPECT_EQ(copy(&border::ListVolumes)(failure), nullptr);
  EXPECT_EQ(failure.code, code);
  EXPECT_THROW(failure.Throw(), unsigned long);
  EXPECT_EQ(fake.calls["FindFirstVolumeW"], 0);
  EXPECT_EQ(::SetErrorMode(mode), UINT{SEM_NOGPFAULTERRORBOX});

  if (name.starts_with("Find") && name.find("MountPoint") != std::string::npos) {
    border::Failure ofPoints;
    EXPECT_EQ(copy(&border::ListMountPoints)(one.c_str(), ofPoints), nullptr);
    EXPECT_EQ(ofPoints.code, code);
    EXPECT_EQ(fake.calls["FindFirstVolumeMountPointW"], 0);
  }
  // The root of the path must be known first.
  if (name == "GetVolumeNameForVolumeMountPointW") {
    wcstring text = L"C:\\a";
    border::Failure ofName;
    copy (&border::GetRawVolumeName)(text, ofName);
    EXPECT_EQ(ofName.kind, border::Failure::systemCode);
    EXPECT_EQ(ofName.code, code);
    EXPECT_EQ(text, L"C:\\a");
  }
}

INSTANTIATE_TEST_SUITE_P(Each, MissingFunction, ::testing::ValuesIn(kFunctions, kFunctions + 8));

}  // namespace
}  // namespace vtclass
