#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <list>
#include <string>

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
  const DWORD code = IS_INTRESOURCE(name) ? 0 : CodeOf(name);
  if (code == 0) return ::GetProcAddress(module, name);
  ::SetLastError(code);
  return nullptr;
}

[[maybe_unused]] auto* const lookUps = test::AnswerLookUps(&LookUp);

TEST(MissingFunctions, IteratorsThrowTheCode_NothingElseThrows) {
  for (const char* const function : kFunctions) {
    EXPECT_EQ(test::FindImport(test::LibraryUnderTest(), nullptr, function), nullptr)
        << "the library would not load without " << function;
  }
  FakeVolumes fake;
  fake.AddDrive(L"C:\\", FakeVolumeName(1));
  const wcstring one = FakeVolumeName(1), two = FakeVolumeName(2);
  mp_it it;
  const std::pair<std::function<void()>, const char*> calls[] = {
      {[] { vol_it(); }, "FindFirstVolumeW"},
      {[&] { mp_it points(one); }, "FindFirstVolumeMountPointW"},
      {[&] { it = one; }, "FindFirstVolumeMountPointW"}};
  for (const auto& [call, function] : calls) {
    try {
      call();
      ADD_FAILURE() << function;
    } catch (const unsigned long code) {
      EXPECT_EQ(code, CodeOf(function));
    }
  }
  EXPECT_EQ(it, mp_it());

  wcstring text = L"C:\\windows";
  EXPECT_FALSE(get_raw_vol_name()(text)) << "without a path there is nothing to ask";
  EXPECT_EQ(text, L"C:\\windows");
  EXPECT_FALSE(unmounted_drive()(two)) << "what cannot be searched is not unmounted";
  text = two;
  translate_vol_name()(text);
  EXPECT_EQ(text, two);
  EXPECT_EQ(get_volume_name_for_mount_point(wcstring(L"C:\\")), L"C:\\");
  EXPECT_EQ(get_volume_name_for_mount_point(cstring("C:\\")), "C:\\");
  EXPECT_EQ(get_volume_path_name(L"C:\\windows"), L"");

  fake.version = 4;
  EXPECT_EQ((std::list<wcstring>{vol_it(), vol_it::end()}), std::list<wcstring>{L"C:\\"});
  EXPECT_EQ(mp_it(one), mp_it());
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

// A copy of the DLL whose system lacks a function and what stands behind it in the table.
class SomeMissing {
 public:
  explicit SomeMissing(const char* first) { missing = first; }

  const test::LibraryCopy copy{L"vtclass_mini.dll"};

 private:
  static FARPROC WINAPI LookUpSome(HMODULE module, LPCSTR name) {
    const DWORD code = IS_INTRESOURCE(name) ? 0 : CodeOf(name);
    if (code == 0 || code < CodeOf(missing)) return FakeVolumes::LookUp(module, name);
    ::SetLastError(code);
    return nullptr;
  }
  static inline const char* missing;

  const test::ImportHook<decltype(::GetProcAddress)> lookUp{"KERNEL32.dll", "GetProcAddress",
                                                            &LookUpSome, copy.Module()};
};

TEST(MissingFunctions, Kernel32Glue_NeedsItsCore) {
  // Each stands behind what the row before it has.
  const std::pair<const char*, bool> rows[] = {{"GetVolumePathNameW", false},
                                               {"GetVolumePathNamesForVolumeNameW", false},
                                               {"GetVolumeNameForVolumeMountPointA", true}};
  for (const auto& [function, isOk] : rows) {
    const SomeMissing some(function);
    EXPECT_EQ(some.copy(&Kernel32Glue::GetInstance)()->OK(), isOk) << function;
    some.copy (&Kernel32Glue::DestroyInstance)();
  }
}

TEST(MissingFunctions, FirstOneIsTold_NothingIsBegun) {
  const wcstring one = FakeVolumeName(1);
  for (std::size_t i = 0; i < 8; ++i) {
    const std::string name = kFunctions[i];
    SCOPED_TRACE(name);
    const SomeMissing some(kFunctions[i]);
    FakeVolumes fake;
    fake.AddDrive(L"C:\\", one);
    fake.AddMount(one, L"a\\", one);
    const UINT mode = ::SetErrorMode(SEM_NOGPFAULTERRORBOX);
    const auto expectCode = [&](const border::Failure& failure) {
      EXPECT_EQ(failure.kind, border::Failure::systemCode);
      EXPECT_EQ(failure.code, CodeOf(kFunctions[i]));
    };
    border::Failure ofVolumes, ofPoints, ofName;
    EXPECT_EQ(some.copy(&border::ListVolumes)(ofVolumes), nullptr);
    expectCode(ofVolumes);
    EXPECT_EQ(::SetErrorMode(mode), UINT{SEM_NOGPFAULTERRORBOX});
    if (name.starts_with("Find") && name.find("MountPoint") != std::string::npos) {
      EXPECT_EQ(some.copy(&border::ListMountPoints)(one.c_str(), ofPoints), nullptr);
      expectCode(ofPoints);
    }
    // The root of the path must be known first.
    if (name == "GetVolumeNameForVolumeMountPointW") {
      wcstring text = L"C:\\a";
      some.copy (&border::GetRawVolumeName)(text, ofName);
      expectCode(ofName);
      EXPECT_EQ(text, L"C:\\a");
    }
    EXPECT_EQ(fake.calls["FindFirstVolumeW"] + fake.calls["FindFirstVolumeMountPointW"], 0);
  }
}

}  // namespace
}  // namespace vtclass
