#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

#include "tests/support/allocations.h"
#include "tests/support/fake_cluster.h"
#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "vtclass/cluster.h"
#include "vtclass/net.h"

namespace {

using namespace vtclass;
using test::FakeCluster;

struct Question {
  bool (*ask)(std::wstring&, std::wstring&, std::wstring&, std::wstring&, bool&);
  const wchar_t* key;
  const wchar_t* prefix;
};

const Question kQuestions[] = {
    {&GetDatabaseServerNames, L"Software\\Norvane\\Vantorel For Windows\\Pordex", L""},
    {&GetVTDatabaseServerNames, L"Software\\Norvane\\Vantorel For Windows\\VTDatabase", L"Server "},
    {&GetCATDatabaseServerNames, L"Software\\Norvane\\Vantorel For Windows\\VTDatabase",
     L"Catalog "}};

// The answers in one text: "server/activeNode/instance/database/local", "none" for no.
std::wstring Ask(const Question& question = kQuestions[0]) {
  std::wstring texts[4] = {L"x", L"x", L"x", L"x"};
  bool isLocal = true;
  const bool found = question.ask(texts[0], texts[1], texts[2], texts[3], isLocal);
  std::wstring all;
  for (const std::wstring& text : texts) all += text + L"/";
  all += isLocal ? L"local" : L"";
  if (!found) EXPECT_EQ(std::exchange(all, L"none"), L"////");
  return all;
}

class DatabaseLocation : public ::testing::Test {
 protected:
  DatabaseLocation() { EXPECT_NE(GetComputerNodeName(node), 0); }

  static void Store(const std::wstring& name, const std::wstring& text,
                    const wchar_t* key = kQuestions[0].key) {
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    test::StoreValue(key, name, REG_SZ, text.c_str(), bytes);
  }

  test::PrivateRegistry registry;
  wcstring node;
};

TEST_F(DatabaseLocation, EachFunction_ReadsItsOwnValues) {
  for (const Question& question : kQuestions) {
    EXPECT_EQ(Ask(question), L"none");
    const std::wstring server = question.prefix + std::wstring(L"Database Server Name");
    const std::wstring instance = question.prefix + std::wstring(L"Database Instance Name");
    const std::wstring name = question.prefix + std::wstring(L"Database Name");
    for (const auto& value : {server, instance, name}) Store(value, value, question.key);
    EXPECT_EQ(Ask(question), server + L"//" + instance + L"/" + name + L"/");
    ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, question.key);
  }
}

TEST_F(DatabaseLocation, MissingEmptyAndMalformedValues) {
  const wchar_t* const key = kQuestions[0].key;
  test::MakeKey(key);
  EXPECT_EQ(Ask(), node + L"//Vantorl/VTDB/local");
  for (const wchar_t* name : {L"Database Server Name", L"Database Instance Name"}) Store(name, L"");
  test::StoreValue(key, L"Database Name", REG_SZ, L"", 0);
  EXPECT_EQ(Ask(), node + L"///VTDB/local");
  // The longest value has 1,023 bytes, with or without a terminator.
  // What stands behind it in memory keeps the system from adding one.
  const std::wstring longest(600, L'n');
  const std::tuple<DWORD, DWORD, std::wstring> rows[] = {{1024, REG_SZ, L"Vantorl"},
                                                         {1023, REG_SZ, longest.substr(0, 512)},
                                                         {1022, REG_SZ, longest.substr(0, 511)},
                                                         {4, REG_DWORD, L"Vantorl"},
                                                         {6, REG_EXPAND_SZ, L"nnn"}};
  Store(L"Database Server Name", node);
  for (const auto& [bytes, type, instance] : rows) {
    test::StoreValue(key, L"Database Instance Name", type, longest.data(), bytes);
    EXPECT_EQ(Ask(), node + L"//" + instance + L"/VTDB/local") << bytes;
  }
}

TEST_F(DatabaseLocation, InACluster_NamesTheActiveNode) {
  const FakeCluster fake(test::TwoNodes());
  const wchar_t* const rows[][2] = {{L"VTBACKUP", L"VTBACKUP/NODEB/Vantorl/VTDB/"},
                                    {L"NODEB", L"NODEB//Vantorl/VTDB/"},
                                    {L"STRANGER", L"STRANGER//Vantorl/VTDB/"}};
  for (const auto& [server, answer] : rows) {
    Store(L"Database Server Name", server);
    EXPECT_EQ(Ask(), answer);
  }
}

TEST_F(DatabaseLocation, Failure_LeavesNothingInTheOutputs) {
  test::MakeKey(kQuestions[0].key);
  {
    const auto none = [](auto...) { return 0; };
    using NameInto = int(wchar_t*, unsigned long*);
    const auto name = test::Replace<NameInto>("_Z17VTGetComputerNamePwPm", none);
    const auto wide = test::Replace<NameInto>("_Z18VTGetComputerNameWPwPm", none);
    EXPECT_EQ(Ask(), L"none");
  }
  const FakeCluster fake(test::TwoNodes());
  Store(L"Database Server Name", L"VTBACKUP");
  Store(L"Database Instance Name", std::wstring(100, L'i'));
  EXPECT_EQ(Ask(), L"VTBACKUP/NODEB/" + std::wstring(100, L'i') + L"/VTDB/");
  std::wstring texts[4];
  bool found = false, isLocal = true;
  DWORD error = 0;
  const auto ask = [&] {
    for (std::wstring& text : texts) text = L"x";
    found = GetDatabaseServerNames(texts[0], texts[1], texts[2], texts[3], isLocal);
    error = ::GetLastError();
  };
  test::TryEachAllocation(ask, [&](bool) {
    EXPECT_FALSE(isLocal);
    EXPECT_TRUE(found || error == ERROR_NOT_ENOUGH_MEMORY) << error;
    // A node that cannot be told stays empty, and the last error says so.
    const bool mayLackNode = found && error != ERROR_SUCCESS;
    EXPECT_TRUE(mayLackNode || texts[1].empty() == !found);
    for (const int i : {0, 2, 3}) EXPECT_EQ(texts[i].empty(), !found);
  });
}

TEST_F(DatabaseLocation, UnreadableCluster_IsNoLocalServer) {
  FakeCluster fake(test::TwoNodes());
  fake.table.Resource(L"Address3").factsError = RPC_S_CALL_FAILED;
  Store(L"Database Server Name", L"127.0.0.1");
  EXPECT_EQ(Ask(), L"127.0.0.1//Vantorl/VTDB/");
  EXPECT_EQ(::GetLastError(), DWORD{RPC_S_CALL_FAILED});
}

// The connection string, "none" for no.
std::wstring Odbc(const std::wstring& server, const wchar_t* instance, const wchar_t* database,
                  const wchar_t* application, bool usePhysicalName = false) {
  std::wstring out = server;  // also a part
  if (GetOdbcConnectionString(out, out, instance, database, application, usePhysicalName)) {
    return out;
  }
  EXPECT_EQ(out, L"");
  return L"none";
}

TEST(OdbcConnectionString, PartsAndHost) {
  const std::wstring start = L"DRIVER=SQL Server;SERVER=";
  EXPECT_EQ(Odbc(L"S", L"", L"D", L""), start + L"S;DATABASE=D");
  EXPECT_EQ(Odbc(L"S", L"I;=", L"D", nullptr), start + L"S\\I;=;DATABASE=D");
  EXPECT_EQ(Odbc(L"S", L"I", L"D", L"A b"), start + L"S\\I;DATABASE=D;App=A b");
  EXPECT_EQ(Odbc(L"", L"I", L"D", L"A") + Odbc(L"S", L"I", L"", L"A"), L"nonenone");
  wchar_t host[256];
  DWORD size = _countof(host);
  ASSERT_TRUE(::GetComputerNameExW(ComputerNamePhysicalDnsHostname, host, &size));
  const std::wstring physical = start + (size < 64 ? host : L"S") + L";DATABASE=D";
  EXPECT_EQ(Odbc(L"S", L"", L"D", nullptr, true), physical);
  const auto longName = test::Replace<decltype(::GetComputerNameExW)>(
      "GetComputerNameExW", [](COMPUTER_NAME_FORMAT format, LPWSTR, LPDWORD room) {
        EXPECT_EQ(format, ComputerNamePhysicalDnsHostname);
        EXPECT_EQ(*room, 64u);
        return ::SetLastError(ERROR_MORE_DATA), FALSE;
      });
  EXPECT_EQ(Odbc(L"S", L"", L"D", nullptr, true), start + L"S;DATABASE=D");
}

}  // namespace
