#ifndef VTCLASS_NET_AGENT_CONFIGURATION_H
#define VTCLASS_NET_AGENT_CONFIGURATION_H

#include <vector>

#include "vtclass/strings.h"

namespace vtclass::net {

/*
 * What the Oracle agent has stored of this machine's databases: one registry key a database below
 * config::kOracleAgentKey, named after it, with its SID, its identifier and whether it is a RAC
 * database. Only reads. What is missing or of another type counts as not stored.
 */
class AgentConfiguration {
 public:
  /* Opens the configuration of the database with that SID, in any case. */
  explicit AgentConfiguration(const wcstring& sid);

  /* The names of all databases, appended; false when there is no such configuration. */
  static bool GetOracleDBNames(std::vector<wcstring>& names);
  static bool GetIsRAC(const wcstring& database);
  static bool GetSidnamefromDBName(const wcstring& database, wcstring& sid);

  /* The database's identifier; false, and `id` as before, when it is not stored. */
  bool GetOracleDBID(wcstring& id) const;

 private:
  wcstring database; /* empty: none has the SID */
};

}  // namespace vtclass::net

#endif
