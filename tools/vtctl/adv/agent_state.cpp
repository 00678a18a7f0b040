#include "tools/vtctl/adv/agent_state.h"

#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/agent.h"

namespace vtctl {
namespace {

struct Words {
  unsigned long status;
  const char* forScripts;
  const wchar_t* shown;
};
constexpr Words kWords[] = {{0, "running", L"runs"},
                            {AgentAdvConfig::accessDenied, "access-denied", L"access denied"},
                            {AgentAdvConfig::notReachable, "not-reachable", L"not reachable"},
                            {AgentAdvConfig::notInstalled, "not-installed", L"not complete"},
                            {AgentAdvConfig::olderVersion, "older-version", L"older version"},
                            {AgentAdvConfig::otherVersion, "other-version", L"other version"},
                            {AgentAdvConfig::notRunning, "not-running", L"stopped"}};
constexpr Words kOther = {0, "failed", L"failed"};

const Words& WordsFor(const AgentState& state) {
  for (const Words& words : kWords) {
    if (words.status == state.status) return words;
  }
  return kOther;
}

// The system's words, where it has refused something.
std::wstring Reason(const AgentState& state) {
  return state.code == state.status ? std::wstring() : L" " + SystemText(state.code);
}

std::wstring AccessDenied(const AgentState& state) {
  if (state.machine.empty()) {
    return L"The system does not tell you of the agent's service." + Reason(state) +
           L" Run vtctl as an administrator.";
  }
  if (state.code == ERROR_SESSION_CREDENTIAL_CONFLICT) {
    return L"You are connected to " + MachineName(state) + L" as another user already." +
           Reason(state) + L" End that connection (net use \\\\" + MachineName(state) +
           L"\\IPC$ /delete), or leave --user out.";
  }
  return MachineName(state) + L" does not let you in." + Reason(state) +
         L" Name an account that may administer it with --user; its password is asked for.";
}

std::wstring NotReachable(const AgentState& state) {
  if (state.machine.empty()) {
    return L"The system's service manager does not answer." + Reason(state) +
           L" Look into the system's event log.";
  }
  return MachineName(state) + L" cannot be reached." + Reason(state) +
         L" Is the name right, does the machine run, and does its firewall let file sharing "
         L"through? 'vtctl resolve' asks for its addresses.";
}

std::wstring NotInstalled(const AgentState& state) {
  const std::wstring machine = MachineName(state);
  switch (state.code) {
    case ERROR_ACCESS_DENIED:
      return L"You may not open the agent's settings on " + machine + L"." + Reason(state) +
             L" Run vtctl as an administrator of that machine; 'vtctl adv show' needs to read "
             L"only.";
    case ERROR_SERVICE_DOES_NOT_EXIST:
    case ERROR_INVALID_NAME:
      return L"The agent's service is missing on " + machine + L", though its settings are there." +
             Reason(state) + L" Repair the agent's installation.";
    case ERROR_FILE_NOT_FOUND:
      return L"No complete agent is installed on " + machine +
             L": its settings or its version are not in the registry. Install the agent; for the "
             L"sibling product add --product 1.";
    default:
      return L"The agent's settings on " + machine + L" cannot be opened." + Reason(state) +
             (state.machine.empty() ? L"" : L" Does its Remote Registry service run?");
  }
}

std::wstring OtherVersion(const AgentState& state) {
  const std::wstring machine = MachineName(state);
  if (state.code == ERROR_FILE_NOT_FOUND) {
    return L"The agent on " + machine +
           L" is of an older generation, which keeps other settings. Update it.";
  }
  return L"The agent on " + machine +
         L" is of a newer version than this vtctl. Use the vtctl of that version.";
}

}  // namespace

const char* StateWord(const AgentState& state) { return WordsFor(state).forScripts; }

unsigned long SystemStatus(const AgentState& state) {
  if (state.status == 0) return 0;
  // A state of the library's own has no status of the system where both are the same.
  return state.code == state.status && &WordsFor(state) != &kOther ? 0 : state.code;
}

const wchar_t* StateName(const AgentState& state) { return WordsFor(state).shown; }

std::wstring MachineName(const AgentState& state) {
  const std::size_t begin = state.machine.find_first_not_of(L'\\');
  if (begin == std::wstring::npos) {
    return state.machine.empty() ? L"this machine" : Printable(state.machine);
  }
  return Printable(state.machine.substr(begin, state.machine.find(L'\\', begin) - begin));
}

std::wstring Explanation(const AgentState& state) {
  switch (state.status) {
    case 0:
      return {};
    case AgentAdvConfig::accessDenied:
      return AccessDenied(state);
    case AgentAdvConfig::notReachable:
      return NotReachable(state);
    case AgentAdvConfig::notInstalled:
      return NotInstalled(state);
    case AgentAdvConfig::olderVersion:
      return L"The agent on " + MachineName(state) +
             L" is of an older version than this vtctl. Update it.";
    case AgentAdvConfig::otherVersion:
      return OtherVersion(state);
    case AgentAdvConfig::notRunning:
      return L"The agent's service on " + MachineName(state) +
             L" does not run, and nothing is advertised." + Reason(state) +
             L" Start it: sc start VantorelAgentSprintel.";
    default:
      return L"The agent's settings cannot be opened: " + SystemText(state.status);
  }
}

ExitCode ExitCodeOf(const AgentState& state, bool isKeyOpen) {
  if (state.status == 0) return kExitClean;
  if (isKeyOpen) return kExitWarnings;
  if (state.status == AgentAdvConfig::notReachable) return kExitNoAnswer;
  return state.status == ERROR_NOT_ENOUGH_MEMORY ? kExitInternal : kExitNoInput;
}

}  // namespace vtctl
