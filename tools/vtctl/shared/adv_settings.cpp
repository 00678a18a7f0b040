#include "tools/vtctl/shared/adv_settings.h"

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

NameList Read(AgentAdvConfig& agent,
              unsigned long (AgentAdvConfig::*get)(std::vector<wcstring>& list)) {
  NameList list;
  list.error = (agent.*get)(list.names);
  return list;
}

std::vector<std::wstring> Texts(const NameList& list) {
  if (list.error != 0) return {L"cannot be read: " + SystemText(list.error)};
  if (list.names.empty()) return {L"none"};
  std::vector<std::wstring> texts;
  texts.reserve(list.names.size());
  for (const wcstring& name : list.names) texts.push_back(Printable(name));
  return texts;
}

Json ToJson(const NameList& list) {
  if (list.error != 0) return nullptr;
  Json names = Json::array();
  for (const wcstring& name : list.names) names.push_back(ToUtf8(name));
  return names;
}

}  // namespace

std::optional<AdvSettings> ReadSettings(AgentAdvConfig& agent) {
  AdvSettings settings;
  unsigned long minutes = 0;
  const unsigned long status = agent.GetAdvertiseInterval(minutes);
  if (status == ERROR_INVALID_HANDLE) return std::nullopt;
  if (status == 0) settings.minutes = minutes;
  settings.isEnabled = agent.IsAdvEnabled();
  settings.isNowPending = agent.IsAdvertiseNowPending();
  settings.isPurgePending = agent.IsPurgePending();
  settings.isDiscoveryOn = agent.IsAutoDiscoveryEnabled();
  settings.mediaServers = Read(agent, &AgentAdvConfig::GetMediaServerAdvList);
  settings.purgeServers = Read(agent, &AgentAdvConfig::GetMediaServerPurgeList);
  settings.publishedNames = Read(agent, &AgentAdvConfig::GetMyPublishedNamesList);
  return settings;
}

std::vector<SettingRow> Rows(const AdvSettings& settings) {
  const auto onOff = [](bool isOn) { return std::vector<std::wstring>{isOn ? L"on" : L"off"}; };
  const std::wstring interval =
      settings.minutes ? std::to_wstring(*settings.minutes) + L" min" : L"not set";
  return {{L"Advertising", onOff(settings.isEnabled)},
          {L"Interval", {interval}},
          {L"Advertise now", {settings.isNowPending ? L"pending" : L"not pending"}},
          {L"Discovery", onOff(settings.isDiscoveryOn)},
          {L"Media servers", Texts(settings.mediaServers)},
          {L"To be purged", Texts(settings.purgeServers)},
          {L"Purge", {settings.isPurgePending ? L"pending" : L"not pending"}},
          {L"Published names", Texts(settings.publishedNames)}};
}

Json ToJson(const AdvSettings& settings) {
  return {{"advertising", settings.isEnabled},
          {"intervalMinutes", settings.minutes ? Json(*settings.minutes) : Json()},
          {"advertiseNowPending", settings.isNowPending},
          {"autoDiscovery", settings.isDiscoveryOn},
          {"mediaServers", ToJson(settings.mediaServers)},
          {"purgeServers", ToJson(settings.purgeServers)},
          {"purgePending", settings.isPurgePending},
          {"publishedNames", ToJson(settings.publishedNames)}};
}

}  // namespace vtctl
