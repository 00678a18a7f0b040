#ifndef VTCLASS_TOOLS_VTCTL_SHARED_ADV_SETTINGS_H
#define VTCLASS_TOOLS_VTCTL_SHARED_ADV_SETTINGS_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/vtctl/shared/json.h"
#include "vtclass/agent.h"

namespace vtctl {

/* A list as it was read. */
struct NameList {
  unsigned long error = 0;
  std::vector<wcstring> names;

  bool operator==(const NameList&) const = default;
};

/* All of an agent's advertisement settings at one time. */
struct AdvSettings {
  bool isEnabled = false;
  bool isNowPending = false;
  bool isPurgePending = false;
  bool isDiscoveryOn = false;
  std::optional<unsigned long> minutes;
  NameList mediaServers;
  NameList purgeServers;
  NameList publishedNames;

  bool HasUnreadLists() const {
    return mediaServers.error != 0 || purgeServers.error != 0 || publishedNames.error != 0;
  }
};

/* Nothing while the agents key is not open. */
std::optional<AdvSettings> ReadSettings(AgentAdvConfig& agent);

/* What people read: a label and its texts, one a line. */
using SettingRow = std::pair<std::wstring, std::vector<std::wstring>>;
std::vector<SettingRow> Rows(const AdvSettings& settings);

Json ToJson(const AdvSettings& settings);

}  // namespace vtctl

#endif
