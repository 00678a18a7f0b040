#include <vtclass/win32.h>

#include <optional>
#include <string>

#include "platform/owned.h"
#include "tools/vtctl/adv/agent_state.h"
#include "tools/vtctl/shared/adv_settings.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/joined.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/secret.h"
#include "tools/vtctl/shared/system_text.h"
#include "tools/vtctl/shared/wait.h"

namespace vtctl {
namespace {

constexpr const char* kExamples =
    "An agent advertises its machine to media servers, which then list it among those that they\n"
    "can protect. A server on the purge list is told to forget it. The settings are in the\n"
    "registry of the agent's machine; an agent that runs follows them, one that is stopped does\n"
    "when it is started.\n"
    "\n"
    "With --server the settings of another machine are meant. --user names an account there; its\n"
    "password is asked for without echo, or read as one line where standard input is no terminal.\n"
    "Without --user you are who you are logged on as.\n"
    "\n"
    "Examples:\n"
    "  vtctl adv show\n"
    "  vtctl adv show --server SRV1 --user NORVANE\\admin --json\n"
    "  vtctl adv add MEDIA1\n"
    "      advertise to that media server, and at once\n"
    "  vtctl adv purge MEDIA2 --force\n"
    "      have it forget this machine, also when it is not in the list\n"
    "  vtctl adv publish SRV1-BACKUP\n"
    "      advertise under this name of the machine too\n"
    "  vtctl adv interval 240\n"
    "  vtctl adv watch --for 60\n"
    "\n"
    "Exit codes: 0 clean; 1 done, but the agent does not run or is of another version, a list\n"
    "cannot be read, or purge has found nothing to do; 66 no agent, or no access; 69 the machine\n"
    "does not answer; 73 the change cannot be written, or advertising is off; 130 interrupted.";

constexpr unsigned kRead = Configuration::accessRead;
// Lists are read before they are changed.
constexpr unsigned kChange = Configuration::accessRead | Configuration::accessWrite;

struct AdvArguments : CommonArguments {
  std::wstring server;
  std::optional<std::wstring> user;
};

struct NameArguments : AdvArguments {
  std::wstring name;
  bool isLater = false;
  bool isForced = false;
};

struct IntervalArguments : AdvArguments {
  unsigned minutes = 0;
};

struct DiscoveryArguments : AdvArguments {
  bool isOn = false;
};

struct WatchArguments : AdvArguments {
  unsigned seconds = 0;
};

// An agent's settings, and what Open has said.
struct Agent {
  AgentAdvConfig config;
  AgentState state;

  bool IsOpen() {
    unsigned long minutes = 0;
    return config.GetAdvertiseInterval(minutes) != ERROR_INVALID_HANDLE;
  }
};

// An exit code where the password was not to be had.
int Open(const AdvArguments& arguments, unsigned access, Agent& agent) {
  agent.state.machine = arguments.server;
  const wchar_t* const server = arguments.server.c_str();
  if (arguments.user) {
    Secret secret;
    const int code = ReadPassword(*arguments.user, secret);
    if (code != kExitClean) return code;
    const WidePassword password(secret);
    agent.state.status =
        agent.config.Open(server, arguments.user->c_str(), password.Text(), access);
  } else {
    agent.state.status = agent.config.Open(server, nullptr, nullptr, access);
  }
  agent.state.code = agent.config.GetErrorCode();
  return kExitClean;
}

// Opens the agent's settings. Where they are not open then, says why: an exit code.
int OpenOrFail(const AdvArguments& arguments, unsigned access, Agent& agent) {
  const int code = Open(arguments, access, agent);
  if (code != kExitClean) return code;
  if (agent.IsOpen()) return kExitClean;
  return FailWith(ExitCodeOf(agent.state, false), SystemStatus(agent.state),
                  Explanation(agent.state));
}

void PrintRow(const SettingRow& row) {
  constexpr size_t kLabelColumns = 17;
  std::wstring label = row.first;
  for (const std::wstring& text : row.second) {
    Print(Fitted(label, kLabelColumns) + text + L"\n");
    label.clear();
  }
}

void PrintShown(const Agent& agent, const std::optional<AdvSettings>& settings) {
  PrintRow({L"Agent", {MachineName(agent.state) + L", " + StateName(agent.state)}});
  if (!settings) return;
  for (const SettingRow& row : Rows(*settings)) PrintRow(row);
}

void PrintAsJson(const Agent& agent, const std::optional<AdvSettings>& settings) {
  const AgentState& state = agent.state;
  PrintJson({{"server", TextOrNull(state.machine)},
             {"state", StateWord(state)},
             {"error", TextOrNull(Explanation(state))},
             {"status", SystemStatus(state) == 0 ? Json() : Json(SystemStatus(state))},
             {"settings", settings ? ToJson(*settings) : Json()}});
}

int Show(const AdvArguments& arguments) {
  Agent agent;
  const int readCode = Open(arguments, kRead, agent);
  if (readCode != kExitClean) return readCode;
  const std::optional<AdvSettings> settings = ReadSettings(agent.config);
  const int code = ExitCodeOf(agent.state, settings.has_value());
  if (arguments.json) {
    PrintAsJson(agent, settings);
  } else if (settings) {
    PrintShown(agent, settings);
  }
  if (code != kExitClean) return Fail(code, Explanation(agent.state));
  return settings && settings->HasUnreadLists() ? kExitWarnings : kExitClean;
}

// What follows a change that was written.
int Done(const Agent& agent, const std::wstring& sentence) {
  Print(sentence + L"\n");
  if (agent.state.status == 0) return kExitClean;
  return FailWith(kExitWarnings, SystemStatus(agent.state), Explanation(agent.state));
}

int NotWritten(unsigned long status) {
  if (status == ERROR_INVALID_PARAMETER) return Fail(kExitUsage, L"The name is empty.");
  if (status == AgentAdvConfig::advertisingDisabled) {
    return Fail(
        kExitCannotWrite,
        L"Advertising is off, and nothing was changed. Switch it on first: vtctl adv enable.");
  }
  return Fail(kExitCannotWrite, L"The change cannot be written", status);
}

// One operation of the library, and the sentence that tells what it has done; the operation may
// put another one in its place.
template <typename Change>
int MakeChange(const AdvArguments& arguments, std::wstring sentence, const Change& change) {
  Agent agent;
  const int code = OpenOrFail(arguments, kChange, agent);
  if (code != kExitClean) return code;
  const unsigned long status = change(agent.config, sentence);
  return status == 0 ? Done(agent, sentence) : NotWritten(status);
}

int Enable(const AdvArguments& arguments) {
  return MakeChange(arguments, L"Advertising is on.",
                    [](AgentAdvConfig& config, std::wstring&) { return config.EnableAdv(); });
}

int Disable(const AdvArguments& arguments) {
  return MakeChange(arguments, L"Advertising is off.",
                    [](AgentAdvConfig& config, std::wstring&) { return config.DisableAdv(); });
}

int SetInterval(const IntervalArguments& arguments) {
  return MakeChange(arguments, L"The interval is " + std::to_wstring(arguments.minutes) + L" min.",
                    [&](AgentAdvConfig& config, std::wstring&) {
                      return config.SetAdvertiseInterval(arguments.minutes);
                    });
}

int SetDiscovery(const DiscoveryArguments& arguments) {
  const bool isOn = arguments.isOn;
  return MakeChange(arguments, isOn ? L"Discovery is on." : L"Discovery is off.",
                    [isOn](AgentAdvConfig& config, std::wstring&) {
                      return isOn ? config.EnableAutoDiscovery() : config.DisableAutoDiscovery();
                    });
}

int AdvertiseNow(const AdvArguments& arguments) {
  return MakeChange(arguments, L"The agent is to advertise at once.",
                    [](AgentAdvConfig& config, std::wstring&) {
                      return config.IsAdvEnabled() ? config.SetPendingAdvertiseNow()
                                                   : AgentAdvConfig::advertisingDisabled;
                    });
}

int AddServer(const NameArguments& arguments) {
  const std::wstring name = Printable(arguments.name);
  return MakeChange(arguments, name + L" is among the media servers now.",
                    [&](AgentAdvConfig& config, std::wstring& sentence) {
                      bool wasThere = false;
                      const unsigned long status = config.AddMediaServerAdv(
                          arguments.name.c_str(), wasThere, !arguments.isLater);
                      if (wasThere) sentence = name + L" was among the media servers already.";
                      return status;
                    });
}

int Publish(const NameArguments& arguments) {
  const std::wstring name = Printable(arguments.name);
  return MakeChange(arguments, name + L" is published now.",
                    [&](AgentAdvConfig& config, std::wstring& sentence) {
                      bool wasThere = false;
                      const unsigned long status =
                          config.AddPublishedNameToList(arguments.name.c_str(), wasThere);
                      if (wasThere) sentence = name + L" was published already.";
                      return status;
                    });
}

int Unpublish(const NameArguments& arguments) {
  const std::wstring name = Printable(arguments.name);
  return MakeChange(arguments, name + L" is not published any more.",
                    [&](AgentAdvConfig& config, std::wstring& sentence) {
                      bool wasMissing = false;
                      const unsigned long status =
                          config.DelPublishedNameFromList(arguments.name.c_str(), wasMissing);
                      if (wasMissing) sentence = name + L" was not published.";
                      return status;
                    });
}

int PurgeServer(const NameArguments& arguments) {
  Agent agent;
  const int code = OpenOrFail(arguments, kChange, agent);
  if (code != kExitClean) return code;
  bool wasNotThere = false;
  bool wasPurged = false;
  const unsigned long status = agent.config.AddMediaServerPurge(
      arguments.name.c_str(), wasNotThere, wasPurged, !arguments.isLater, arguments.isForced);
  if (status != 0) return NotWritten(status);
  const std::wstring name = Printable(arguments.name);
  if (wasNotThere && wasPurged) return Done(agent, name + L" was to be purged already.");
  if (wasNotThere && !arguments.isForced) {
    return Fail(kExitWarnings, name +
                                   L" is not among the media servers, and nothing was changed. "
                                   L"--force has it purged all the same.");
  }
  return Done(agent, name + L" is to forget the agent.");
}

// Prints the rows that differ.
void PrintChanges(const AdvSettings& before, const AdvSettings& now, bool json) {
  const std::vector<SettingRow> old = Rows(before);
  const std::vector<SettingRow> rows = Rows(now);
  if (old == rows) return;
  if (json) {
    PrintJsonLine({{"time", ToUtf8(IsoTime())}, {"settings", ToJson(now)}});
    return;
  }
  for (size_t i = 0; i < rows.size(); ++i) {
    if (rows[i] == old[i]) continue;
    Print(ClockTime() + L"  " + rows[i].first + L": " + Joined(rows[i].second) + L"\n");
  }
}

int NotWatched(unsigned long status) {
  return Fail(kExitNoInput, L"The settings cannot be watched", status);
}

int Watch(const WatchArguments& arguments) {
  const Deadline deadline(arguments.seconds);
  const vtclass::platform::OwnedKernelObject event(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
  if (!event) return NotWatched(::GetLastError());
  Agent agent;
  const int code = OpenOrFail(arguments, kRead, agent);
  if (code != kExitClean) return code;
  if (agent.state.status != 0) Remark(Explanation(agent.state));
  std::optional<AdvSettings> known;
  for (;;) {
    // Before the reading: a change in between is then either read or signalled.
    const unsigned long status = agent.config.RegisterForChanges(event.Get());
    if (status != 0) return NotWatched(status);
    std::optional<AdvSettings> now = ReadSettings(agent.config);
    if (!now) return NotWatched(ERROR_INVALID_HANDLE);
    if (known) {
      PrintChanges(*known, *now, arguments.json);
    } else if (!arguments.json) {
      PrintShown(agent, now);
      Print(L"Watching; Ctrl+C ends it.\n");
    }
    known = std::move(now);
    const WaitEnd end = WaitFor(event.Get(), deadline.Left());
    if (end == WaitEnd::failed) return NotWatched(::GetLastError());
    if (end != WaitEnd::signalled) return ExitCodeOf(end);
  }
}

template <typename Arguments>
CommandWith<Arguments> AddOperation(Command& adv, const char* name, const char* description,
                                    int (*operation)(const Arguments&)) {
  CommandWith<Arguments> command = adv.Add(name, description, kExamples, operation);
  command.Text("--server NAME", command->server, "The agent's machine; without it this one");
  const Argument user = command.Text("--user NAME", command->user, "An account of that machine");
  command.Require([user, command] {
    return user.IsGiven() && command->server.empty()
               ? std::string("--user goes with --server, which")
               : std::string();
  });
  return command;
}

CommandWith<NameArguments> AddNamed(Command& adv, const char* name, const char* description,
                                    const char* argument, int (*operation)(const NameArguments&)) {
  CommandWith<NameArguments> command = AddOperation(adv, name, description, operation);
  command.Text(argument, command->name, "Its name").Required();
  return command;
}

}  // namespace

void AddAdvCommand(Command& program) {
  Command adv = program.AddGroup(
      "adv", "Show, change and watch how an agent advertises its machine to media servers",
      kExamples);
  AddOperation(adv, "show", "Print the settings, and whether the agent runs", Show)
      .Json("One JSON object");
  AddOperation(adv, "enable", "Switch advertising on", Enable);
  AddOperation(adv, "disable", "Switch advertising off", Disable);
  auto add = AddNamed(adv, "add", "Advertise to a media server", "MEDIASERVER", AddServer);
  add.Flag("--later", add->isLater, "Wait for the next interval");
  auto purge =
      AddNamed(adv, "purge", "Have a media server forget the agent", "MEDIASERVER", PurgeServer);
  purge.Flag("--later", purge->isLater, "Wait for the next interval");
  purge.Flag("--force", purge->isForced, "Also when the agent does not advertise to it");
  AddNamed(adv, "publish", "Publish a name of the machine", "NAME", Publish);
  AddNamed(adv, "unpublish", "Publish a name no longer", "NAME", Unpublish);
  auto interval =
      AddOperation(adv, "interval", "Set the minutes between advertisements", SetInterval);
  interval.Count("MINUTES", interval->minutes, "Any number; the agent decides what it takes")
      .Required();
  auto discovery =
      AddOperation(adv, "discovery", "Switch automatic discovery on or off", SetDiscovery);
  discovery
      .Choice<bool>("on|off", discovery->isOn, {{"on", true}, {"off", false}}, "What it is to be")
      .Required();
  AddOperation(adv, "now", "Have the agent advertise at once", AdvertiseNow);
  auto watch = AddOperation(adv, "watch", "Print changes as they come; Ctrl+C ends it", Watch);
  watch.Count("--for SECONDS", watch->seconds, "End after so many seconds", kSeconds);
  watch.Json("One JSON object a change");
}

}  // namespace vtctl
