#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "tests/support/allocations.h"
#include "tests/support/handle_counter.h"
#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "vtclass/config.h"

namespace {

using namespace std::string_literals;
using namespace vtclass::test;

constexpr wchar_t kKey[] = L"Software\\A";

class RegistryIterators : public testing::Test {
 protected:
  PrivateRegistry registry;
  wchar_t room[30000] = {};
  std::vector<wcstring> items = {L"before"};
};

TEST_F(RegistryIterators, MissingKey_IsInvalidAndLeavesNoTrace) {
  CRegistryKeysIterator keys(kKey, HKEY_LOCAL_MACHINE, 0);
  CRegistryValuesIterator values(kKey, HKEY_LOCAL_MACHINE, 0);
  EXPECT_EQ(keys.GetKey(), HKEY_LOCAL_MACHINE);
  EXPECT_FALSE(keys.isValid());
  EXPECT_FALSE(keys.Next());
  EXPECT_FALSE(values.isValid());
  EXPECT_FALSE(values.Next());
  EXPECT_FALSE(values.GetValueOf(L"v", room));
  EXPECT_FALSE(values.getData());
  EXPECT_FALSE(KeyExists(L"Software"));
}

TEST_F(RegistryIterators, Keys_EachOnce_AndOneThatCameLaterWithALongerName) {
  std::set<std::wstring> expected = {L"x", L"y"};
  for (const std::wstring& name : expected) MakeKey(kKey + L"\\"s + name);
  CRegistryKeysIterator keys(kKey, HKEY_LOCAL_MACHINE, 0);
  MakeKey(kKey + L"\\"s + *expected.insert(std::wstring(255, L'z')).first);
  EXPECT_EQ(keys.GetCount(), 2u);
  std::set<std::wstring> met = {keys.First()};
  while (const wchar_t* name = keys.Next()) {
    met.insert(name);
    EXPECT_TRUE(met.contains(keys.First())) << "First does not go back";
    EXPECT_EQ(keys.First(), name);
  }
  EXPECT_EQ(met, expected);
}

TEST_F(RegistryIterators, Values_GiveNameTypeAndData) {
  const std::wstring longName(16383, L'n');
  StoreValue(kKey, longName, REG_MULTI_SZ, L"a\0\0b\0\0", 12);
  StoreValue(kKey, L"n", REG_DWORD, "1234", 4);
  StoreValue(kKey, L"", REG_BINARY, "", 0);
  CRegistryValuesIterator values(kKey, HKEY_LOCAL_MACHINE, 0);
  EXPECT_EQ(values.GetCount(), 3u);
  std::map<std::wstring, std::pair<unsigned long, unsigned long>> met;
  for (const wchar_t* name = values.First(); name; name = values.Next()) {
    met[name] = {values.getType(), values.getDataSize()};
    if (name != longName) continue;
    Allocations allocations(ThisProgram());
    allocations.FailAt(2);
    EXPECT_FALSE(values.getData(items));
    EXPECT_TRUE(values.getData(items));
  }
  EXPECT_EQ(items, (std::vector<wcstring>{L"before", L"a", L"b"}));
  EXPECT_EQ(met, (decltype(met){{longName, {7, 12}}, {L"n", {4, 4}}, {L"", {3, 0}}}));
}

TEST_F(RegistryIterators, GetValueOf_OffersTheLengthLastMet) {
  StoreValue(kKey, L"a", REG_DWORD, "1234", 4);
  CRegistryValuesIterator values(kKey, HKEY_LOCAL_MACHINE, 0);
  StoreValue(kKey, L"b", REG_BINARY, std::string(60000, 'x').data(), 60000);
  EXPECT_EQ(values.GetValueOf(L"a", room), 0) << "nothing met, no room";
  EXPECT_EQ(values.GetValueOf(L"a", room), 1);
  EXPECT_EQ(values.GetValueOf(L"b", room), 0);
  EXPECT_EQ(values.getDataSize(), 60000u);
  EXPECT_EQ(values.getType(), static_cast<unsigned long>(REG_BINARY));
  EXPECT_TRUE(values.getData(items)) << "reads no further than its buffer";
  EXPECT_EQ(items.size(), 1u) << "reads no further than its buffer";
  EXPECT_EQ(values.GetValueOf(L"b", room), 1);
  EXPECT_FALSE(values.GetValueOf(L"", room));
  EXPECT_FALSE(values.GetValueOf(nullptr, room));
  EXPECT_FALSE(values.GetValueOf(L"b", nullptr));
}

TEST_F(RegistryIterators, FailingConstruction_IsInvalidAndClosesItsKey) {
  MakeKey(kKey);
  const HandleCounter handles;
  for (long n = 0; n <= 3; ++n) {
    Allocations allocations;
    if (n > 0) allocations.FailAt(n);
    const ImportHook<decltype(::RegQueryInfoKeyW)> hook(
        "ADVAPI32.dll", "RegQueryInfoKeyW",
        n > 0 ? &::RegQueryInfoKeyW : [](auto...) -> LSTATUS { return ERROR_ACCESS_DENIED; });
    CRegistryKeysIterator keys(kKey, HKEY_LOCAL_MACHINE, 0);
    CRegistryValuesIterator values(kKey, HKEY_LOCAL_MACHINE, 0);
    EXPECT_EQ(keys.isValid(), n > 1);
    EXPECT_EQ(keys.GetKey() == HKEY_LOCAL_MACHINE, n <= 1);
    EXPECT_EQ(values.isValid(), n == 1);
    EXPECT_FALSE(keys.First());
    EXPECT_FALSE(values.First());
    EXPECT_EQ(handles.Open(), n > 0 ? 1 : 2) << "only a failed query leaves the key open";
  }
  EXPECT_EQ(handles.Opened(), 8);
  EXPECT_EQ(handles.Open(), 0);
}

}  // namespace
