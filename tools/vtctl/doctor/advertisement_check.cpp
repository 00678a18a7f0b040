#include "tools/vtctl/doctor/advertisement_check.h"

#include <vtclass/win32.h>

#include <algorithm>

#include "tools/vtctl/doctor/checks.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl::doctor {
namespace {

// What the library says of a stored value of another type.
constexpr unsigned long kOtherType = 0xFFFFFFFF;

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

// A value of another type has a status of its own, for which the system has no words.
std::wstring ReadFailure(unsigned long error) {
  return error == kOtherType ? L"a value is of another type than it should be." : SystemText(error);
}

// Open says "not installed" whatever kept it from the agent's keys.
bool IsUnknown(const AdvertisementState& state) {
  return state.status == AgentAdvConfig::notInstalled && state.error != 0 &&
         state.error != state.status && !IsMissing(state.error) &&
         state.error != ERROR_SERVICE_DOES_NOT_EXIST && state.error != ERROR_INVALID_NAME;
}

Finding JudgeAgent(const AdvertisementState& state) {
  const auto row = std::ranges::find(kAgents, state.status, &AgentRow::status);
  if (row == std::end(kAgents) || IsUnknown(state)) {
    Finding finding = {
        .verdict = Verdict::problem,
        .code = "agent-unknown",
        .what = L"Whether the agent runs cannot be told: " + ReadFailure(state.error),
        .status = state.error};
    if (IsUnknown(state)) {
      finding.reason = L"The agent's key, or the one that holds its version, cannot be read.";
      finding.remedy = state.error == kOtherType ? L"Install the agent anew." : kLetRead;
    } else {
      finding.reason = L"This machine's service manager, or the agent's service, does not answer.";
      finding.remedy = L"See whether other services can be queried; start the machine anew if not.";
    }
    return finding;
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

Finding JudgeServers(const AdvSettings& settings, bool isRunning) {
  if (settings.mediaServers.error != 0) {
    return {.verdict = Verdict::warning,
            .code = "advertisement-unreadable",
            .what = L"The list of media servers cannot be read: " +
                    ReadFailure(settings.mediaServers.error),
            .reason = L"Agents take it for empty.",
            .remedy =
                L"See whether the value \"Agent Directory List\" is a REG_MULTI_SZ that the "
                L"agents' account may read.",
            .status = settings.mediaServers.error};
  }
  if (!settings.isEnabled) {
    return {.verdict = Verdict::note,
            .code = "advertising-off",
            .what = L"Advertising is off: \"Advertising Disabled\" is set.",
            .reason = L"Media servers that do not list this machine yet do not learn of it."};
  }
  if (settings.mediaServers.names.empty()) {
    return {.verdict = settings.isDiscoveryOn ? Verdict::note : Verdict::warning,
            .code = "no-media-server",
            .what = L"No media server is stored to which an agent would advertise.",
            .reason = settings.isDiscoveryOn
                          ? L"Media servers have to discover this machine by themselves."
                          : L"Automatic discovery is off as well: no media server learns of it.",
            .remedy = L"vtctl adv add SERVER names one."};
  }
  const std::wstring interval =
      settings.minutes ? L" every " + std::to_wstring(*settings.minutes) + L" minutes" : L"";
  const std::wstring servers = Joined(settings.mediaServers.names) + interval + L".";
  if (!isRunning) {
    return {
        .code = "media-servers-stored",
        .what = L"Media servers are stored, to which an agent advertises when it runs: " + servers};
  }
  return {.code = "advertises", .what = L"The agent advertises to " + servers};
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
  findings.push_back(JudgeServers(*state.settings, state.status == 0));
  if (state.settings->isPurgePending) {
    findings.push_back({.verdict = Verdict::note,
                        .code = "purge-pending",
                        .what = L"Media servers are still to be told to forget this machine.",
                        .reason = L"The agent tells them when it advertises next."});
  }
  return findings;
}

void CheckAdvertisement(Found& found) { found.Add(JudgeAdvertisement(AskAdvertisement())); }

}  // namespace vtctl::doctor
