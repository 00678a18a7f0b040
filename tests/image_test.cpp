#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/import_hook.h"

namespace {

const BYTE* Image() { return reinterpret_cast<const BYTE*>(vtclass::test::LibraryUnderTest()); }

const IMAGE_NT_HEADERS& Headers() {
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(Image());
  return *reinterpret_cast<const IMAGE_NT_HEADERS*>(Image() + dos->e_lfanew);
}

TEST(Image, Hardening_IsOn) {
  const WORD flags = Headers().OptionalHeader.DllCharacteristics;
  EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE);
  EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA);
  EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_NX_COMPAT);
}

// The product's set-up copies the DLL alone: a run-time library beside it would be missing.
TEST(Image, Imports_OnlySystemLibraries) {
  const auto& directory = Headers().OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  const auto* descriptor =
      reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(Image() + directory.VirtualAddress);
  ASSERT_NE(descriptor->Name, 0u);
  wchar_t system[MAX_PATH] = {};
  ::GetSystemDirectoryW(system, MAX_PATH);
  for (; descriptor->Name != 0; ++descriptor) {
    const char* const name = reinterpret_cast<const char*>(Image() + descriptor->Name);
    const HMODULE module = ::GetModuleHandleA(name);
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(module, path, MAX_PATH);
    EXPECT_EQ(_wcsnicmp(path, system, wcslen(system)), 0) << name << " is no system library";
  }
}

TEST(Image, VersionResource_NamesTheLibrary) {
  wchar_t path[MAX_PATH] = {};
  ::GetModuleFileNameW(vtclass::test::LibraryUnderTest(), path, MAX_PATH);
  std::vector<BYTE> resource(::GetFileVersionInfoSizeW(path, nullptr));
  ASSERT_FALSE(resource.empty());
  ASSERT_TRUE(::GetFileVersionInfoW(path, 0, static_cast<DWORD>(resource.size()), resource.data()));
  wchar_t* name = nullptr;
  UINT length = 0;
  ASSERT_TRUE(::VerQueryValueW(resource.data(), L"\\StringFileInfo\\040904B0\\OriginalFilename",
                               reinterpret_cast<void**>(&name), &length));
  EXPECT_STREQ(name, L"vtclass_mini.dll");
}

}  // namespace
