#include "tests/support/scratch_folder.h"

#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <system_error>

#include "platform/owned.h"
#include "tests/support/random_name.h"
#include "tests/support/wine.h"

namespace vtclass::test {

namespace {

constexpr wchar_t kPrefix[] = L"vtclass-test-";

void SweepLeftovers(const std::filesystem::path& parent) {
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(parent, ignored)) {
    const std::wstring name = entry.path().filename().wstring();
    if (!name.starts_with(kPrefix) || OwnerIsAlive(name.substr(std::size(kPrefix) - 1))) continue;
    std::filesystem::remove_all(entry.path(), ignored);
  }
}

}  // namespace

ScratchFolder::ScratchFolder() {
  wchar_t temp[MAX_PATH + 1] = {};
  ::GetTempPathW(MAX_PATH + 1, temp);
  SweepLeftovers(temp);
  path = temp + (kPrefix + RandomName());
  EXPECT_TRUE(::CreateDirectoryW(path.c_str(), nullptr))
      << Status(static_cast<long>(::GetLastError()));
}

ScratchFolder::~ScratchFolder() {
  std::error_code failure;
  std::filesystem::remove_all(path, failure);
  EXPECT_FALSE(failure) << "a file of the scratch folder is still open: " << failure.message();
}

std::string FileBytes(const std::wstring& path) {
  const platform::OwnedFile file(::CreateFileW(
      path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return {};
  std::string bytes(::GetFileSize(file.Get(), nullptr), '\0');
  DWORD read = 0;
  ::ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr);
  bytes.resize(read);
  return bytes;
}

void MakeFile(const std::wstring& path, const std::string& bytes) {
  const platform::OwnedFile file(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr,
                                               CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  DWORD written = 0;
  EXPECT_TRUE(
      ::WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr))
      << Status(static_cast<long>(::GetLastError()));
}

}  // namespace vtclass::test
