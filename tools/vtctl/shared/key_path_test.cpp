#include "tools/vtctl/shared/key_path.h"

#include <gtest/gtest.h>

namespace vtctl {
namespace {

TEST(KeyPath, ParseKeyPath_ReadsRootsAndSubkeys) {
  const struct {
    const wchar_t* text;
    const wchar_t* name;  // null: refused
  } rows[] = {{L"HKLM\\Software\\A b", L"HKEY_LOCAL_MACHINE\\Software\\A b"},
              {L"hkcu\\x", L"HKEY_CURRENT_USER\\x"},
              {L"HKEY_users\\S-1", L"HKEY_USERS\\S-1"},
              {L"HKCR", L"HKEY_CLASSES_ROOT"},
              {L"HKCC\\", L"HKEY_CURRENT_CONFIG"},
              {L"Software\\A", L"HKEY_LOCAL_MACHINE\\Software\\A"},
              {L"Software\\A\\\\", L"HKEY_LOCAL_MACHINE\\Software\\A"},
              {L"Computer\\HKEY_CURRENT_USER\\x", L"HKEY_CURRENT_USER\\x"},
              {L"Computer", L"HKEY_LOCAL_MACHINE\\Computer"},
              {L"HKLMX\\y", L"HKEY_LOCAL_MACHINE\\HKLMX\\y"},
              {L"a/b", L"HKEY_LOCAL_MACHINE\\a/b"},
              {L"", L"HKEY_LOCAL_MACHINE"},
              {L"HKEY_OTHER\\x", nullptr},
              {L"HKLM\\\\x", nullptr},
              {L"\\x", nullptr},
              {L"a\\\\b", nullptr}};
  for (const auto& row : rows) {
    const auto path = ParseKeyPath(row.text);
    ASSERT_EQ(path.has_value(), row.name != nullptr) << row.text;
    if (path) EXPECT_EQ(KeyName(*path), row.name);
  }
}

}  // namespace
}  // namespace vtctl
