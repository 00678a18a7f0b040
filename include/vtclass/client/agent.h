#ifndef VTCLASS_CLIENT_AGENT_H
#define VTCLASS_CLIENT_AGENT_H

/* What vtclass/agent.h compiles into its callers: lists are filled on the side that owns them.
 * Included by that header. */

inline unsigned long AgentAdvConfig::GetMediaServerAdvList(std::vector<wcstring>& servers) {
  return ReadList(List::mediaServers, servers);
}

inline unsigned long AgentAdvConfig::GetMediaServerPurgeList(std::vector<wcstring>& servers) {
  return ReadList(List::purge, servers);
}

inline unsigned long AgentAdvConfig::GetMyPublishedNamesList(std::vector<wcstring>& names) {
  return ReadList(List::publishedNames, names);
}

#endif
