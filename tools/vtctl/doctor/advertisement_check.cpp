#include "tools/vtctl/doctor/advertisement_check.h"

#include <vtclass/win32.h>

#include <algorithm>

#include "tools/vtctl/doctor/checks.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl::doctor {
namespace {

struct AgentRow {
  unsigned long status;
  Verdict verdict;
  const char* code;
  const wchar_t* what;
  const wchar_t* reason;
  const wchar_t* remedy;
};
constexpr AgentRow kAgents[] = {
    {0, Verdict::ok, "agent-runs", L"The agent is installed and runs.", L"", L""},
    {AgentAdvConfig::notInstalled, Verdict::note, "agent-not-installed",
     L"No agent is installed here, or its settings are not there.",
     L"No media server can save this machine.", L"If it is to be saved, install the agent."},
    {AgentAdvConfig::notRunning, Verdict::warning, "agent-not-running",
     L"The agent is installed, and its service does not run.",
     L"It advertises nothing and takes no jobs.", L"Start its service."},
    {AgentAdvConfig::olderVersion, Verdict::warning, "agent-older",
     L"The agent is of an older version than this library.",
     L"What vtctl shows of it may not be what it goes by.", L"Install all of one release."},
    {AgentAdvConfig::otherVersion, Verdict::warning, "agent-of-other-version",
     L"The agent is of a newer version than this library, or of an older generation.",
     L"What vtctl shows of it may not be what it goes by.", L"Install all of one release."},
    {AgentAdvConfig::accessDenied, Verdict::warning, "agent-not-visible",
     L"This account may not ask for the agent's service.", L"Whether it runs is not known.",
     L"Run this as the agents' account or as an administrator."}};

Finding JudgeAgent(const AdvertisementState& state) {
  const auto row = std::ranges::find(kAgents, state.status, &AgentRow::status);
  if (row == std::end(kAgents)) {
    return {.verdict = Verdict::problem,
            .code = "agent-unknown",
            .what = L"Whether the agent runs cannot be told: " + SystemText(state.error),
            .reason = L"This machine's service manager, or the agent's service, does not answer.",
            .remedy = L"See whether other services can be queried; start the machine anew if not.",
            .status = state.error};
  }
  return {.verdict = row->verdict,
          .code = row->code,
          .what = row->what,
          .reason = row->reason,
          .remedy = row->remedy,
          .status = state.status == 0 ? 0 : state.error};
}

std::wstring Joined(const std::vector<wcstring>& names) {
  constexpr size_t kMostShown = 5;
  std::wstring text;
  for (size_t i = 0; i < std::min(names.size(), kMostShown); ++i) {
    text += (i == 0 ? L"" : L", ") + names[i];
  }
  const size_t more = names.size() - std::min(names.size(), kMostShown);
  return more == 0 ? text : text + L" and " + std::to_wstring(more) + L" more";
}

Finding JudgeServers(const AdvSettings& settings) {
  if (settings.mediaServers.error != 0) {
    return {.verdict = Verdict::warning,
            .code = "advertisement-unreadable",
            .what = L"The list of media servers cannot be read: " +
                    SystemText(settings.mediaServers.error),
            .reason = L"Agents take it for empty.",
            .remedy =
                L"See whether the value \"Agent Directory List\" is a REG_MULTI_SZ that the "
                L"agents' account may read.",
            .status = settings.mediaServers.error};
  }
  if (!settings.isEnabled) {
    return {.verdict = Verdict::note,
            .code = "advertising-off",
            .what = L"The agent does not advertise: \"Advertising Disabled\" is set.",
            .reason = L"Media servers that do not list this machine yet do not learn of it."};
  }
  if (settings.mediaServers.names.empty()) {
    return {.verdict = settings.isDiscoveryOn ? Verdict::note : Verdict::warning,
            .code = "no-media-server",
            .what = L"The agent has no media server to advertise to.",
            .reason = settings.isDiscoveryOn
                          ? L"Media servers have to discover this machine by themselves."
                          : L"Automatic discovery is off as well: no media server learns of it.",
            .remedy = L"vtctl adv add SERVER names one."};
  }
  const std::wstring interval =
      settings.minutes ? L" every " + std::to_wstring(*settings.minutes) + L" minutes" : L"";
  return {
      .code = "advertises",
      .what = L"The agent advertises to " + Joined(settings.mediaServers.names) + interval + L"."};
}

AdvertisementState AskAdvertisement() {
  AdvertisementState state;
  AgentAdvConfig agent;
  state.status = agent.Open(nullptr, nullptr, nullptr, Configuration::accessRead);
  state.error = agent.GetErrorCode();
  state.settings = ReadSettings(agent);
  return state;
}

}  // namespace

Findings JudgeAdvertisement(const AdvertisementState& state) {
  Findings findings = {JudgeAgent(state)};
  if (!state.settings) return findings;
  findings.push_back(JudgeServers(*state.settings));
  if (state.settings->isPurgePending) {
    findings.push_back({.verdict = Verdict::note,
                        .code = "purge-pending",
                        .what = L"Media servers are still to be told to forget this machine.",
                        .reason = L"The agent tells them when it advertises next."});
  }
  return findings;
}

Findings CheckAdvertisement() { return JudgeAdvertisement(AskAdvertisement()); }

}  // namespace vtctl::doctor
