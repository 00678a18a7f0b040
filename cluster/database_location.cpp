#include <string>

#include "cluster/answer_or.h"
#include "cluster/odbc_text.h"
#include "config/registry_values.h"
#include "vtclass/cluster.h"
#include "vtclass/config.h"
#include "vtclass/net.h"

namespace vtclass {
namespace {

using cluster::AnswerOr;
using cluster::AskForText;
using config::RegistryValue;

// Where one database's location is stored.
struct StoredLocation {
  const RegistryValue& server;
  const RegistryValue& instance;
  const RegistryValue& database;
};

constexpr StoredLocation kProductDatabase = {config::kDatabaseServerName,
                                             config::kDatabaseInstanceName, config::kDatabaseName};
constexpr StoredLocation kServerDatabase = {config::kServerDatabaseServerName,
                                            config::kServerDatabaseInstanceName,
                                            config::kServerDatabaseName};
constexpr StoredLocation kCatalogDatabase = {config::kCatalogDatabaseServerName,
                                             config::kCatalogDatabaseInstanceName,
                                             config::kCatalogDatabaseName};

constexpr unsigned long kLongestValue = 1023;  // bytes

// Room for such a value and a terminator, also behind its odd last byte.
constexpr size_t kValueUnits = kLongestValue / sizeof(wchar_t) + 2;

struct Location {
  std::wstring& server;
  std::wstring& activeNode;
  std::wstring& instance;
  std::wstring& database;
  bool& isLocal;

  void Clear() const noexcept {
    for (std::wstring* text : {&server, &activeNode, &instance, &database}) text->clear();
    isLocal = false;
  }
};

// False, with `text` empty, when there is no such text or it is too long.
bool ReadText(Configuration& key, const RegistryValue& value, std::wstring& text) {
  text.clear();
  unsigned long size = 0;
  unsigned long type = REG_NONE;
  if (!key.GetDataSize(value.name, &size, &type)) return false;
  if (type != REG_SZ && type != REG_EXPAND_SZ) return false;
  wchar_t area[kValueUnits] = {};
  if (!key.LoadRaw(value.name, reinterpret_cast<unsigned char*>(area), kLongestValue, type)) {
    return false;
  }
  text = area;
  return true;
}

std::wstring LocalNodeName() {
  wchar_t name[257] = {};
  unsigned long size = _countof(name);
  return GetComputerNodeName(name, &size) ? name : L"";
}

// False when the key cannot be opened.
bool ReadLocation(const StoredLocation& stored, const Location& location) {
  Configuration key;
  if (!key.Open(Configuration::openExisting, stored.server.key.Path(), nullptr,
                Configuration::accessRead)) {
    return false;
  }
  ReadText(key, stored.server, location.server);
  if (location.server.empty()) {
    location.server = LocalNodeName();
    location.isLocal = true;
  }
  // Stored as an empty text it is SQL Server's default instance, which has no name.
  if (!ReadText(key, stored.instance, location.instance)) location.instance = stored.instance.text;
  ReadText(key, stored.database, location.database);
  if (location.database.empty()) location.database = stored.database.text;
  return true;
}

// `error`: why the active node or whether the server is this machine could not be told.
bool FindLocation(const StoredLocation& stored, const Location& location, unsigned long& error) {
  if (!ReadLocation(stored, location) || location.server.empty()) return false;
  wcstring node;
  if (GetVtActiveNodeName(location.server.c_str(), node) && node != location.server) {
    location.activeNode = node;
  }
  error = ::GetLastError();
  if (!location.isLocal) {
    const unsigned long status = IsThisMe(location.server, &location.isLocal, true);
    if (status != ERROR_SUCCESS && status != ERROR_INVALID_PARAMETER) error = status;
  }
  return true;
}

bool Find(const StoredLocation& stored, const Location& location) noexcept {
  const bool found =
      AnswerOr(false, [&](unsigned long& error) { return FindLocation(stored, location, error); });
  if (!found) location.Clear();
  return found;
}

std::wstring PhysicalHostName(const std::wstring& otherwise) {
  wchar_t name[64];
  DWORD size = _countof(name);
  return ::GetComputerNameExW(ComputerNamePhysicalDnsHostname, name, &size) ? name : otherwise;
}

}  // namespace

bool GetOdbcConnectionString(std::wstring& out, const std::wstring& server,
                             const std::wstring& instance, const std::wstring& database,
                             const wchar_t* application, bool usePhysicalName) {
  return AskForText(out, [&](std::wstring& text, unsigned long&) {
    if (server.empty() || database.empty()) return false;
    const std::wstring host = usePhysicalName ? PhysicalHostName(server) : server;
    text = cluster::OdbcText(host, instance, database, application ? application : L"");
    return true;
  });
}

bool GetDatabaseServerNames(std::wstring& server, std::wstring& activeNode, std::wstring& instance,
                            std::wstring& database, bool& isLocal) {
  return Find(kProductDatabase, {server, activeNode, instance, database, isLocal});
}

bool GetVTDatabaseServerNames(std::wstring& server, std::wstring& activeNode,
                              std::wstring& instance, std::wstring& database, bool& isLocal) {
  return Find(kServerDatabase, {server, activeNode, instance, database, isLocal});
}

bool GetCATDatabaseServerNames(std::wstring& server, std::wstring& activeNode,
                               std::wstring& instance, std::wstring& database, bool& isLocal) {
  return Find(kCatalogDatabase, {server, activeNode, instance, database, isLocal});
}

}  // namespace vtclass
