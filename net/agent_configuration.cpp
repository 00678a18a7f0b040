#include "net/agent_configuration.h"

#include "config/registry_values.h"
#include "platform/same_name.h"
#include "vtclass/config.h"

namespace vtclass::net {

namespace {

bool OpenDatabase(Configuration& key, const wcstring& database) {
  const std::wstring path = config::kOracleAgentKey.Path() + (L"\\" + database);
  return key.Open(Configuration::openExisting, path.c_str(), nullptr, Configuration::accessRead);
}

bool LoadText(const wcstring& database, const wchar_t* name, wcstring& text) {
  Configuration key;
  return OpenDatabase(key, database) && key.Load(name, text);
}

}  // namespace

AgentConfiguration::AgentConfiguration(const wcstring& sid) {
  std::vector<wcstring> names;
  GetOracleDBNames(names);
  for (const wcstring& name : names) {
    wcstring stored;
    if (GetSidnamefromDBName(name, stored) && platform::IsSameName(stored, sid)) {
      database = name;
      return;
    }
  }
}

bool AgentConfiguration::GetOracleDBNames(std::vector<wcstring>& names) {
  return Configuration().Enum(config::kOracleAgentKey.Path(), names);
}

bool AgentConfiguration::GetIsRAC(const wcstring& database) {
  Configuration key;
  unsigned long isRac = 0;
  return OpenDatabase(key, database) && key.LoadDWORD(config::kOracleIsRac.name, isRac) &&
         isRac != 0;
}

bool AgentConfiguration::GetSidnamefromDBName(const wcstring& database, wcstring& sid) {
  return LoadText(database, config::kOracleSid.name, sid);
}

bool AgentConfiguration::GetOracleDBID(wcstring& id) const {
  return !database.empty() && LoadText(database, config::kOracleDbId.name, id);
}

}  // namespace vtclass::net
