#ifndef VTCLASS_TESTS_SUPPORT_DEBUG_LOG_FIXTURE_H
#define VTCLASS_TESTS_SUPPORT_DEBUG_LOG_FIXTURE_H

#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "config/product_keys.h"
#include "tests/support/private_registry.h"
#include "tests/support/scratch_folder.h"
#include "vtclass/debug_log.h"
#include "vtclass/settings_monitor.h"

namespace vtclass::test {

inline constexpr wchar_t kOn[] = L"<<<<<<<<<<<< LOGGING ON >>>>>>>>>>>>>>>>>>>";
inline constexpr wchar_t kOff[] = L"<<<<<<<<<<<< LOGGING OFF >>>>>>>>>>>>>>>>>>>";

/* A log on a new file. */
struct OpenDebugLog : DebugLog {
  OpenDebugLog(StringResourceMgr& messages, int unicode, const std::wstring& path,
               openMode mode = createAlways)
      : DebugLog(messages, unicode, nullptr) {
    EXPECT_EQ(Open(mode, path.c_str()), 1);
  }
};

/* Debug logs with a registry, a folder and messages of their own. */
class DebugLogTest : public ::testing::Test {
 protected:
  ~DebugLogTest() override { SettingsMonitor::DestroyInstance(); }

  static void Set(const wchar_t* name, DWORD value) {
    StoreValue(config::kLoggingKey.Path(), name, REG_DWORD, &value, sizeof(value));
  }
  static void SetText(const wchar_t* name, const std::wstring& text) {
    StoreValue(config::kLoggingKey.Path(), name, REG_SZ, text.c_str(),
               static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  }
  /* A log of one line each is then above its limit. */
  static void Limit(DWORD count, DWORD mode = 0, DWORD sizeMB = 2) {
    Set(L"MaxDebugFile Enabled", 1);
    Set(L"MaxDebugFile Size In MB", sizeMB);
    Set(L"MaxDebugFile Count", count);
    Set(L"MaxDebugFile LimitMode", mode);
  }

  /* What a file holds, as text without its byte-order mark. */
  static std::wstring TextIn(const std::wstring& file) {
    const std::string bytes = FileBytes(file);
    if (!bytes.starts_with("\xFF\xFE")) return {bytes.begin(), bytes.end()};
    return std::wstring(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2).substr(1);
  }
  static std::vector<std::wstring> LinesIn(const std::wstring& file) {
    std::vector<std::wstring> lines;
    const std::wstring text = TextIn(file);
    for (std::size_t at = 0, end; (end = text.find(L"\r\n", at)) != std::wstring::npos;
         at = end + 2) {
      lines.push_back(text.substr(at, end - at));
    }
    return lines;
  }
  std::wstring Rotated(int n) const { return path + L".bak" + std::to_wstring(n); }

  PrivateRegistry registry;
  const ScratchFolder folder;
  const std::wstring path = folder / L"trace.log";
  StringResourceMgr messages;
};

}  // namespace vtclass::test

#endif
