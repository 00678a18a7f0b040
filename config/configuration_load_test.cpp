#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "tests/support/wine.h"
#include "vtclass/config.h"

namespace {

using vtclass::test::Allocations;
using vtclass::test::ImportHook;
using vtclass::test::Status;
using vtclass::test::StoredValue;
using namespace std::string_literals;

constexpr wchar_t kKey[] = L"Software\\Values";
constexpr unsigned kReadWrite = Configuration::accessRead | Configuration::accessWrite;

std::string Bytes(const std::wstring& text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

/* Stores the value "v" as it is; the system must find no zero behind it, or it would add one. */
void Put(DWORD type, const std::string& data) {
  vtclass::test::StoreValue(kKey, L"v", type, (data + "xx").data(),
                            static_cast<DWORD>(data.size()));
}

class ConfigurationLoad : public testing::Test {
 protected:
  ConfigurationLoad() { EXPECT_TRUE(settings.Open(kKey, nullptr, kReadWrite)); }
  std::string Result(bool ok) { return Status(ok ? 0 : settings.GetErrorCode()); }

  vtclass::test::PrivateRegistry registry;
  Configuration settings;
};

TEST_F(ConfigurationLoad, LoadDWORD_OnlyFourBytesOfTheRightType_AreANumber) {
  const struct {
    DWORD type;
    std::string data;
    long status;
  } rows[] = {
      {REG_DWORD, "\1\2\3\4", 0},      {REG_DWORD, "\1\2\3", -1},          {REG_DWORD, "", -1},
      {REG_DWORD, "\1\2\3\4\5", -1},   {REG_SZ, Bytes(L"a\0"s), -1},       {REG_SZ, "a", -1},
      {REG_SZ, Bytes(L"long\0"s), -1}, {REG_BINARY, "\1\2\3\4", -1},       {REG_NONE, "", -1},
      {REG_QWORD, "12345678", -1},     {REG_DWORD_BIG_ENDIAN, "1234", -1},
  };
  for (const auto& row : rows) {
    Put(row.type, row.data);
    unsigned long out = 99;
    EXPECT_EQ(Result(settings.LoadDWORD(L"v", out)), Status(row.status)) << row.type << row.data;
    EXPECT_EQ(out, row.status == 0 ? 0x04030201u : 99u);
  }
}

TEST_F(ConfigurationLoad, Load_MissingOrWrongValue_WritesDefaultBack) {
  unsigned long number = 0;
  wcstring text;
  Put(REG_SZ, Bytes(L"text"));
  EXPECT_TRUE(settings.Load(L"v", number, 7));
  EXPECT_TRUE(settings.Load(L"text", text, L"def"));
  EXPECT_TRUE(settings.Load(L"empty", text, nullptr));
  EXPECT_EQ(text, L"");
  EXPECT_EQ(settings.GetErrorCode(), ERROR_FILE_NOT_FOUND) << "a success resets no status";
  EXPECT_TRUE(settings.Load(L"v", number, 8) && settings.Load(L"text", text, L"other"));
  EXPECT_EQ(number, 7u);
  EXPECT_EQ(text, L"def");
  DWORD type = 0;
  EXPECT_EQ(StoredValue(kKey, L"text", &type), Bytes(L"def\0"s));
  EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));

  ASSERT_TRUE(settings.Open(kKey, nullptr, Configuration::accessRead));
  EXPECT_EQ(Result(settings.Load(L"absent", number, 9)), Status(ERROR_ACCESS_DENIED));
  EXPECT_EQ(Result(settings.Load(L"absent", text, L"x")), Status(ERROR_ACCESS_DENIED));
  EXPECT_EQ(number, 9u);
  EXPECT_EQ(text, L"x");
}

TEST_F(ConfigurationLoad, LoadText_AnyStoredBytes_DropsTheLastCharacter) {
  const struct {
    DWORD type;
    std::string data;
    long status;
    std::wstring text;
    std::vector<wcstring> items;
  } rows[] = {
      {REG_SZ, "", 0, L"", {}},
      {REG_SZ, "a", 0, L"", {}},
      {REG_SZ, Bytes(L"a"), 0, L"", {L"a"}},
      {REG_SZ, Bytes(L"a") + "b", 0, L"", {L"a"}},
      {REG_SZ, Bytes(L"ab"), 0, L"a", {L"ab"}},
      {REG_SZ, Bytes(L"ab\0"s) + "c", 0, L"ab", {L"ab"}},
      {REG_EXPAND_SZ, Bytes(L"%TMP%\0"s), 0, L"%TMP%", {L"%TMP%"}},
      {REG_MULTI_SZ, Bytes(L"a\0\0b\0\0"s), 0, L"a\0\0b\0"s, {L"a", L"b"}},
      {REG_MULTI_SZ, Bytes(L"a\0b"s), 0, L"a\0"s, {L"a", L"b"}},
      {REG_DWORD, "1234", -1, L"before", {}},
      {REG_NONE, "", -1, L"before", {}},
      {REG_BINARY, std::string(5000, 'x'), -1, L"before", {}},
  };
  for (const auto& row : rows) {
    Put(row.type, row.data);
    wcstring text = L"before";
    std::vector<wcstring> items = {L"before"};
    EXPECT_EQ(Result(settings.Load(L"v", text)), Status(row.status)) << row.data;
    EXPECT_EQ(Result(settings.Load(L"v", items)), Status(row.status)) << row.data;
    EXPECT_EQ(text, row.text);
    EXPECT_EQ(items, row.items);
  }
  // Around the reader's own buffer, and far above it.
  for (const size_t units : {1022u, 1023u, 1024u, 1025u, 512u * 1024}) {
    const wcstring saved(std::wstring(units, L'x'));
    wcstring text;
    ASSERT_TRUE(settings.Save(L"v", saved) && settings.Load(L"v", text));
    EXPECT_EQ(text, saved) << units;
  }
}

int growths;
LSTATUS WINAPI QueryWhileGrowing(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type,
                                 LPBYTE data, LPDWORD size) {
  const LSTATUS status = ::RegQueryValueExW(key, name, reserved, type, data, size);
  if (status == ERROR_MORE_DATA && growths-- > 0) Put(REG_SZ, std::string(*size + 3000, 'x'));
  return status;
}

TEST_F(ConfigurationLoad, LoadText_ValueGrowsBetweenTheQueries_IsReadAgainButNotForEver) {
  const ImportHook<decltype(::RegQueryValueExW)> hook("ADVAPI32.dll", "RegQueryValueExW",
                                                      &QueryWhileGrowing);
  wcstring text;
  Put(REG_SZ, std::string(3000, 'x'));
  growths = 3;
  EXPECT_EQ(Result(settings.Load(L"v", text)), Status(0));
  EXPECT_EQ(text.size(), (3000u + 3 * 3000) / 2 - 1);
  growths = 1000000;
  EXPECT_EQ(Result(settings.Load(L"v", text)), Status(ERROR_MORE_DATA));
}

TEST_F(ConfigurationLoad, LoadData_TellsLengthsAndRefusesOtherTypes) {
  unsigned char room[4] = {};
  unsigned long size = sizeof(room);
  const unsigned char data[] = {1, 2, 3, 4, 5};
  ASSERT_TRUE(settings.Save(L"v", data, 5));
  EXPECT_EQ(Result(settings.Load(L"v", room, &size)), Status(ERROR_MORE_DATA));
  EXPECT_EQ(size, 5u);
  EXPECT_TRUE(settings.Load(L"v", nullptr, &size));
  EXPECT_EQ(Result(settings.Load(L"v", room, nullptr)), Status(ERROR_INVALID_PARAMETER));
  EXPECT_EQ(Result(settings.LoadRaw(L"v", room, 4, 0)), Status(ERROR_MORE_DATA));
  ASSERT_TRUE(settings.SaveRaw(L"v", data, 4, 77));
  EXPECT_TRUE(settings.LoadRaw(L"v", room, 4, REG_SZ) && room[3] == 4);
  unsigned long type = 0;
  EXPECT_TRUE(settings.GetDataSize(L"v", &size, &type) && settings.GetDataSize(L"v", 0, 0));
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(type, 77u);
  for (unsigned long capacity : {3ul, 4ul}) {
    EXPECT_EQ(Result(settings.Load(L"v", room, &capacity)), Status(-1));
  }
  EXPECT_EQ(Result(settings.SaveRaw(L"v", nullptr, 2, REG_SZ)), Status(ERROR_INVALID_PARAMETER));
  EXPECT_TRUE(settings.Save(L"v", nullptr, 0));
}

TEST_F(ConfigurationLoad, Save_ComesBackUnderEveryName) {
  for (const std::wstring& name :
       {L""s, L"n"s, std::wstring(255, L'n'), std::wstring(16383, L'n')}) {
    std::vector<wcstring> items = {L"a", L"", L"b"};
    unsigned long number = 0;
    wcstring text;
    EXPECT_TRUE(settings.SaveDWORD(name.c_str(), 5) && settings.LoadDWORD(name.c_str(), number));
    EXPECT_TRUE(settings.Save(name.c_str(), L"%x%\0y"s, REG_EXPAND_SZ));
    EXPECT_TRUE(settings.Load(name.c_str(), text));
    EXPECT_EQ(text, L"%x%\0y"s);
    EXPECT_TRUE(settings.Save(name.c_str(), items) && settings.Load(name.c_str(), items));
    EXPECT_EQ(items, (std::vector<wcstring>{L"a", L"b"}));
    EXPECT_TRUE(settings.DeleteValue(name.c_str()));
    EXPECT_EQ(Result(settings.DeleteValue(name.c_str())), Status(ERROR_FILE_NOT_FOUND));
  }
  std::vector<wcstring> none;
  EXPECT_TRUE(settings.Save(nullptr, none) && settings.Load(nullptr, none) && none.empty());
  EXPECT_EQ(StoredValue(kKey, L""), "\0\0"s);
}

TEST_F(ConfigurationLoad, ClosedObjectOrNoMemory_GivesAStatusAndThrowsNothing) {
  const wcstring longText(std::wstring(5000, L'x'));
  std::vector<wcstring> items = {longText, longText};
  wcstring text = L"before";
  unsigned long number = 0;
  const std::function<bool()> operations[] = {
      [&] { return settings.Load(L"text", text); },
      [&] { return settings.Load(L"text", text, longText.c_str()); },
      [&] { return settings.Save(L"items", items); },
      [&] { return settings.Load(L"items", items); },
      [&] { return settings.LoadDWORD(L"v", number); },
      [&] { return settings.Save(L"v", longText); },
      [&] { return settings.DeleteValue(L"v"); },
  };
  ASSERT_TRUE(settings.Save(L"text", longText) && settings.SaveDWORD(L"v", 1));
  int failures = 0;
  for (const auto& operation : operations) {
    for (long n = 1;; ++n) {
      Allocations allocations;
      allocations.FailAt(n);
      text = wcstring(L"before");
      const bool ok = operation();
      if (!allocations.Failed()) break;
      EXPECT_EQ(Result(ok), Status(ERROR_NOT_ENOUGH_MEMORY));
      EXPECT_EQ(StoredValue(kKey, L"text"), Bytes(longText + L'\0')) << "a default took its place";
      items = {longText, longText};
      ++failures;
    }
  }
  EXPECT_GE(failures, 5);
  settings.Close();
  for (const auto& operation : operations) {
    EXPECT_EQ(Result(operation()), Status(ERROR_INVALID_HANDLE));
  }
}

}  // namespace
