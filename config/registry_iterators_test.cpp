#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/handle_counter.h"
#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "vtclass/config.h"

namespace {

using vtclass::test::Allocations;
using vtclass::test::ImportHook;
using vtclass::test::KeyExists;
using vtclass::test::MakeKey;
using vtclass::test::StoreValue;
using namespace std::string_literals;

constexpr wchar_t kKey[] = L"Software\\A";

class RegistryIterators : public testing::Test {
 protected:
  vtclass::test::PrivateRegistry registry;
};

TEST_F(RegistryIterators, MissingKey_IsInvalidAndLeavesNoTrace) {
  CRegistryKeysIterator keys(L"Software\\A\\B", HKEY_LOCAL_MACHINE, 0);
  CRegistryValuesIterator values(L"Software\\A\\B", HKEY_LOCAL_MACHINE, 0);
  wchar_t room[8];
  EXPECT_FALSE(keys.isValid() || values.isValid());
  EXPECT_EQ(keys.GetKey(), HKEY_LOCAL_MACHINE);
  EXPECT_FALSE(keys.First() || keys.Next() || values.First() || values.Next() || values.getData());
  EXPECT_EQ(values.GetValueOf(L"v", room), 0);
  EXPECT_FALSE(KeyExists(L"Software"));
}

TEST_F(RegistryIterators, Keys_EachOnce_AndOneThatCameLaterWithALongerName) {
  std::set<std::wstring> expected = {L"x", L"y", std::wstring(20, L'k')};
  for (const std::wstring& name : expected) MakeKey(kKey + L"\\"s + name);
  CRegistryKeysIterator keys(kKey, HKEY_LOCAL_MACHINE, 0);
  const std::wstring later(255, L'z');
  MakeKey(kKey + L"\\"s + later);
  EXPECT_EQ(keys.GetCount(), 3u);
  const std::wstring first = keys.First();
  EXPECT_EQ(keys.First(), first);
  const std::wstring second = keys.Next();
  EXPECT_EQ(keys.First(), second) << "First does not go back";
  std::set<std::wstring> met = {first, second};
  while (const wchar_t* name = keys.Next()) met.insert(name);
  expected.insert(later);
  EXPECT_EQ(met, expected);
}

TEST_F(RegistryIterators, Values_GiveNameTypeAndData) {
  const std::wstring longName(16383, L'n');
  const std::wstring list = L"a\0\0b\0\0"s;
  StoreValue(kKey, longName, REG_MULTI_SZ, list.data(), 12);
  StoreValue(kKey, L"n", REG_DWORD, "1234", 4);
  StoreValue(kKey, L"", REG_BINARY, "", 0);
  CRegistryValuesIterator values(kKey, HKEY_LOCAL_MACHINE, 0);
  EXPECT_EQ(values.GetCount(), 3u);
  std::vector<wcstring> items = {L"before"};
  EXPECT_TRUE(values.getData(items) && items.size() == 1) << "nothing met yet";
  std::map<std::wstring, std::pair<unsigned long, unsigned long>> met;
  for (const wchar_t* name = values.First(); name; name = values.Next()) {
    met[name] = {values.getType(), values.getDataSize()};
    if (name != longName) continue;
    Allocations allocations;
    allocations.FailAt(1);
    EXPECT_FALSE(values.getData(items));
    EXPECT_EQ(items.size(), 1u);
    EXPECT_TRUE(values.getData(items));
    EXPECT_EQ(items, (std::vector<wcstring>{L"before", L"a", L"b"}));
  }
  EXPECT_EQ(met, (decltype(met){{longName, {7, 12}}, {L"n", {4, 4}}, {L"", {3, 0}}}));
}

TEST_F(RegistryIterators, GetValueOf_OffersTheLengthLastMet) {
  StoreValue(kKey, L"a", REG_DWORD, "1234", 4);
  CRegistryValuesIterator values(kKey, HKEY_LOCAL_MACHINE, 0);
  StoreValue(kKey, L"b", REG_BINARY, "12345678", 8);
  wchar_t room[4] = {};
  EXPECT_EQ(values.GetValueOf(L"a", room), 0) << "nothing met, no room";
  EXPECT_EQ(values.getDataSize(), 4u);
  EXPECT_EQ(values.GetValueOf(L"a", room), 1);
  EXPECT_EQ(values.GetValueOf(L"b", room), 0);
  std::vector<wcstring> items;
  EXPECT_TRUE(values.getData(items)) << "reads no further than its own buffer";
  EXPECT_EQ(values.getDataSize(), 8u);
  EXPECT_EQ(values.GetValueOf(L"b", room), 1);
  EXPECT_EQ(values.getType(), static_cast<unsigned long>(REG_BINARY));
  EXPECT_EQ(values.GetValueOf(L"", room) + values.GetValueOf(nullptr, room) +
                values.GetValueOf(L"b", nullptr),
            0);
  EXPECT_STREQ(values.First(), L"a");
  EXPECT_EQ(values.Next(), nullptr) << "longer than every value of the construction";
}

LSTATUS WINAPI RefuseQuery(HKEY, LPWSTR, LPDWORD, LPDWORD, LPDWORD, LPDWORD, LPDWORD, LPDWORD,
                           LPDWORD, LPDWORD, LPDWORD, PFILETIME) {
  return ERROR_ACCESS_DENIED;
}

TEST_F(RegistryIterators, FailingConstruction_IsInvalidAndClosesItsKey) {
  MakeKey(kKey);
  const vtclass::test::HandleCounter handles;
  for (long n = 0; n <= 3; ++n) {
    Allocations allocations;
    if (n > 0) allocations.FailAt(n);
    const ImportHook<decltype(::RegQueryInfoKeyW)> hook(
        "ADVAPI32.dll", "RegQueryInfoKeyW", n == 0 ? &RefuseQuery : &::RegQueryInfoKeyW);
    CRegistryKeysIterator keys(kKey, HKEY_LOCAL_MACHINE, 0);
    CRegistryValuesIterator values(kKey, HKEY_LOCAL_MACHINE, 0);
    EXPECT_EQ(keys.isValid(), n > 1);
    EXPECT_EQ(keys.GetKey() == HKEY_LOCAL_MACHINE, n <= 1);
    EXPECT_EQ(keys.First(), nullptr);
    EXPECT_EQ(values.isValid(), n == 1);
  }
  EXPECT_EQ(handles.Opened(), 8);
  EXPECT_EQ(handles.Open(), 0);
}

}  // namespace
