#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/c_run_time.h"
#include "tests/support/import_hook.h"

namespace {

// The libraries of the product's set-up.
constexpr const wchar_t* kLibraries[] = {L"vtclass_mini.dll", L"vtsocket.dll", L"vtcluster.dll",
                                         L"vtstdutl.dll"};

const BYTE* Image(const wchar_t* library) {
  return reinterpret_cast<const BYTE*>(::LoadLibraryW(library));
}

const IMAGE_NT_HEADERS& Headers(const BYTE* image) {
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
  return *reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dos->e_lfanew);
}

template <typename Descriptor>
const Descriptor* Imports(const BYTE* image, int directory) {
  const DWORD table = Headers(image).OptionalHeader.DataDirectory[directory].VirtualAddress;
  return table ? reinterpret_cast<const Descriptor*>(image + table) : nullptr;
}

TEST(Image, Hardening_IsOn) {
  for (const wchar_t* library : kLibraries) {
    const WORD flags = Headers(Image(library)).OptionalHeader.DllCharacteristics;
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE);
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA);
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_NX_COMPAT);
  }
}

// The product's set-up copies these DLLs alone: a run-time library beside them would be missing.
TEST(Image, Imports_OnlySystemLibraries) {
  wchar_t system[MAX_PATH] = {};
  ::GetSystemDirectoryW(system, MAX_PATH);
  for (const wchar_t* library : kLibraries) {
    const BYTE* const image = Image(library);
    const auto* descriptor = Imports<IMAGE_IMPORT_DESCRIPTOR>(image, IMAGE_DIRECTORY_ENTRY_IMPORT);
    ASSERT_TRUE(descriptor) << library;
    ASSERT_NE(descriptor->Name, 0u) << library;
    for (; descriptor->Name != 0; ++descriptor) {
      const char* const name = reinterpret_cast<const char*>(image + descriptor->Name);
      const HMODULE module = ::GetModuleHandleA(name);
      wchar_t path[MAX_PATH] = {};
      ::GetModuleFileNameW(module, path, MAX_PATH);
      EXPECT_EQ(_wcsnicmp(path, system, wcslen(system)), 0) << name << " is no system library";
    }
  }
}

// Loading the library loads none of these: they come with the first call.
TEST(Image, Companions_LoadAtTheFirstCall) {
  const BYTE* const image = Image(kLibraries[0]);
  const auto* descriptor =
      Imports<IMAGE_DELAYLOAD_DESCRIPTOR>(image, IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT);
  ASSERT_TRUE(descriptor);
  std::set<std::string> names;
  for (; descriptor->DllNameRVA != 0; ++descriptor) {
    names.insert(reinterpret_cast<const char*>(image + descriptor->DllNameRVA));
  }
  EXPECT_EQ(names, (std::set<std::string>{"vtcluster.dll", "vtsocket.dll", "vtstdutl.dll"}));
}

TEST(Image, VersionResource_NamesTheLibraryAndItsRunTime) {
  wchar_t path[MAX_PATH] = {};
  ::GetModuleFileNameW(vtclass::test::LibraryUnderTest(), path, MAX_PATH);
  std::vector<BYTE> resource(::GetFileVersionInfoSizeW(path, nullptr));
  ASSERT_FALSE(resource.empty());
  ASSERT_TRUE(::GetFileVersionInfoW(path, 0, static_cast<DWORD>(resource.size()), resource.data()));
  const std::pair<std::wstring, const wchar_t*> rows[] = {
      {L"OriginalFilename", L"vtclass_mini.dll"},
      {L"Comments", VTCLASS_UNIVERSAL_CRT ? L"C run time: ucrt" : L"C run time: msvcrt"}};
  for (const auto& [name, expected] : rows) {
    wchar_t* text = nullptr;
    UINT length = 0;
    const std::wstring place = L"\\StringFileInfo\\040904B0\\" + name;
    ASSERT_TRUE(
        ::VerQueryValueW(resource.data(), place.c_str(), reinterpret_cast<void**>(&text), &length));
    EXPECT_STREQ(text, expected);
  }
}

}  // namespace
