#include <gtest/gtest.h>

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

/* The answers in one text: "server/activeNode/instance/database/local", "none" for no. */
std::wstring Ask(const Question& question) {
  std::wstring server = L"x", node = L"x", instance = L"x", database = L"x";
  bool isLocal = true;
  if (!question.ask(server, node, instance, database, isLocal)) {
    EXPECT_EQ(server + node + instance + database, L"");
    EXPECT_FALSE(isLocal);
    return L"none";
  }
  return server + L"/" + node + L"/" + instance + L"/" + database + (isLocal ? L"/local" : L"/");
}

class DatabaseLocation : public ::testing::Test {
 protected:
  DatabaseLocation() { EXPECT_NE(GetComputerNodeName(node), 0); }

  void Store(const wchar_t* name, const std::wstring& units, DWORD bytes, DWORD type = REG_SZ) {
    test::StoreValue(kQuestions[0].key, name, type, units.data(), bytes);
  }

  test::PrivateRegistry registry;
  wcstring node;
};

TEST_F(DatabaseLocation, EachFunction_ReadsItsOwnValues) {
  for (const Question& question : kQuestions) {
    EXPECT_EQ(Ask(question), L"none");
    for (const wchar_t* name : {L"Server", L"Instance", L"Database"}) {
      const std::wstring value =
          std::wstring(question.prefix) + L"Database " +
          (name == std::wstring(L"Database") ? L"Name" : name + std::wstring(L" Name"));
      const std::wstring text = question.prefix + std::wstring(name);
      const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
      test::StoreValue(question.key, value, REG_SZ, text.c_str(), bytes);
    }
    const std::wstring p = question.prefix;
    std::wstring expected = p;
    expected.append(L"Server//").append(p).append(L"Instance/").append(p).append(L"Database/");
    EXPECT_EQ(Ask(question), expected);
    ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, question.key);
  }
}

TEST_F(DatabaseLocation, MissingEmptyAndMalformedValues) {
  const Question& question = kQuestions[0];
  test::MakeKey(question.key);
  EXPECT_EQ(Ask(question), node + L"//Vantorl/VTDB/local");
  for (const wchar_t* name : {L"Database Server Name", L"Database Instance Name"}) {
    Store(name, L"", 2);
  }
  Store(L"Database Name", L"", 0);
  EXPECT_EQ(Ask(question), node + L"///VTDB/local");
  // The longest value has 1,023 bytes, with or without a terminator.
  // What stands behind it in memory keeps the system from adding one.
  const std::wstring longest(600, L'n');
  const struct {
    DWORD bytes;
    DWORD type;
    std::wstring instance;
  } rows[] = {{1024, REG_SZ, L"Vantorl"},
              {1023, REG_SZ, longest.substr(0, 512)},
              {1022, REG_SZ, longest.substr(0, 511)},
              {4, REG_DWORD, L"Vantorl"},
              {6, REG_EXPAND_SZ, L"nnn"}};
  Store(L"Database Server Name", node, static_cast<DWORD>((node.size() + 1) * sizeof(wchar_t)));
  for (const auto& row : rows) {
    Store(L"Database Instance Name", longest, row.bytes, row.type);
    EXPECT_EQ(Ask(question), node + L"//" + row.instance + L"/VTDB/local") << row.bytes;
  }
}

TEST_F(DatabaseLocation, InACluster_NamesTheActiveNode) {
  const FakeCluster fake(test::TwoNodes());
  const struct {
    std::wstring server;
    const wchar_t* rest;
  } rows[] = {{L"VTBACKUP", L"/NODEB/Vantorl/VTDB/"},
              {L"NODEB", L"//Vantorl/VTDB/"},
              {L"STRANGER", L"//Vantorl/VTDB/"}};
  for (const auto& row : rows) {
    Store(L"Database Server Name", row.server,
          static_cast<DWORD>((row.server.size() + 1) * sizeof(wchar_t)));
    EXPECT_EQ(Ask(kQuestions[0]), row.server + row.rest);
  }
}

BOOL WINAPI NoHostName(COMPUTER_NAME_FORMAT format, LPWSTR, DWORD* size) {
  EXPECT_EQ(format, ComputerNamePhysicalDnsHostname);
  EXPECT_EQ(*size, 64u);
  ::SetLastError(ERROR_MORE_DATA);
  return FALSE;
}

TEST(OdbcConnectionString, PartsAndHost) {
  const struct {
    std::wstring server, instance, database;
    const wchar_t* application;
    const wchar_t* text; /* null: none */
  } rows[] = {{L"S", L"", L"D", L"", L"DRIVER=SQL Server;SERVER=S;DATABASE=D"},
              {L"S", L"I", L"D", nullptr, L"DRIVER=SQL Server;SERVER=S\\I;DATABASE=D"},
              {L"S", L"", L"D", L"A b", L"DRIVER=SQL Server;SERVER=S;DATABASE=D;App=A b"},
              {L"S", L"I;=", L"D", L"A", L"DRIVER=SQL Server;SERVER=S\\I;=;DATABASE=D;App=A"},
              {L"", L"I", L"D", L"A", nullptr},
              {L"S", L"I", L"", L"A", nullptr}};
  for (const auto& row : rows) {
    std::wstring out = L"as before";
    EXPECT_EQ(GetOdbcConnectionString(out, row.server, row.instance, row.database, row.application,
                                      false),
              row.text != nullptr);
    EXPECT_EQ(out, row.text ? row.text : L"");
  }
  std::wstring host(256, L'\0');
  DWORD size = 256;
  ASSERT_TRUE(::GetComputerNameExW(ComputerNamePhysicalDnsHostname, host.data(), &size));
  host.resize(size);
  std::wstring out = L"S"; /* also a part */
  EXPECT_TRUE(GetOdbcConnectionString(out, out, L"", L"D", nullptr, true));
  EXPECT_EQ(out, L"DRIVER=SQL Server;SERVER=" + (size < 64 ? host : L"S") + L";DATABASE=D");
  const test::ImportHook<decltype(::GetComputerNameExW)> hook("KERNEL32.dll", "GetComputerNameExW",
                                                              &NoHostName);
  EXPECT_TRUE(GetOdbcConnectionString(out, L"S", L"", L"D", nullptr, true));
  EXPECT_EQ(out, L"DRIVER=SQL Server;SERVER=S;DATABASE=D");
}

}  // namespace
