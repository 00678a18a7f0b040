#include "tests/support/library_copy.h"

#include <gtest/gtest.h>

#include "tests/support/eventually.h"

namespace vtclass::test {

LibraryCopy::LibraryCopy(const std::wstring& name, const std::vector<std::wstring>& beside)
    : names(beside), original(::GetModuleHandleW(name.c_str())) {
  wchar_t path[MAX_PATH] = {};
  ::GetModuleFileNameW(original, path, MAX_PATH);
  const std::wstring home(path, wcsrchr(path, L'\\') + 1);
  names.insert(names.begin(), name);
  for (const std::wstring& each : names) {
    EXPECT_TRUE(::CopyFileW((home + each).c_str(), (folder / each).c_str(), TRUE));
  }
  Load();
}

LibraryCopy::~LibraryCopy() {
  Free();
  for (const std::wstring& name : names) {
    EXPECT_TRUE(Eventually([&] { return Loaded(name) == nullptr; }))
        << std::string(name.begin(), name.end()) << " stays loaded";
  }
}

HMODULE LibraryCopy::Loaded(const std::wstring& name) const {
  return ::GetModuleHandleW((folder / name).c_str());
}

void LibraryCopy::Load() {
  module = ::LoadLibraryW((folder / names.front()).c_str());
  EXPECT_TRUE(module);
  EXPECT_NE(module, original);
}

void LibraryCopy::Free() {
  if (module) ::FreeLibrary(module);
  module = nullptr;
}

}  // namespace vtclass::test
