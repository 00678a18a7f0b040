#include <vtclass/win32.h>

#include <atomic>
#include <optional>
#include <string>
#include <vector>

#include "config/product_keys.h"
#include "platform/owned.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/system_text.h"
#include "tools/vtctl/shared/wait.h"
#include "vtclass/monitor.h"

namespace vtctl {
namespace {

using vtclass::platform::OwnedKernelObject;

constexpr ULONGLONG kOneSignal = 500;  // milliseconds

constexpr const char* kExamples =
    "Monitoring is switched on by two values of the product's debug key: \"SGMon Enabled\" (1 is "
    "on)\n"
    "and \"SGMon Components\" (the sum of engine 1, agent 2, device-media 4, catalog 8, "
    "job-manager\n"
    "16, ndmp 32, library 64). Components look again when they are woken.\n"
    "\n"
    "Examples (KEY is \"" VTCLASS_PRODUCT_ROOT
    "\\Debug\"):\n"
    "  vtctl sgmon watch agent --for 60\n"
    "      what the agent is told, now and at each wake-up\n"
    "  vtctl registry set KEY \"SGMon Enabled\" 1 --type dword\n"
    "  vtctl registry set KEY \"SGMon Components\" 6 --type dword\n"
    "  vtctl sgmon wake\n"
    "      make every component of this machine look again\n"
    "\n"
    "Exit codes: 0 clean, 1 nobody is there to wake, 66 the wake-up event cannot be opened.";

constexpr struct {
  const char* name;
  SGMonClient::eClient client;
} kComponents[] = {{"engine", SGMonClient::eEngine},
                   {"agent", SGMonClient::eAgent},
                   {"device-media", SGMonClient::eDeviceMedia},
                   {"catalog", SGMonClient::eCatalog},
                   {"job-manager", SGMonClient::eJobManager},
                   {"ndmp", SGMonClient::eNdmp},
                   {"library", SGMonClient::eLibrary}};

using Component = decltype(&kComponents[0]);

struct WatchArguments : CommonArguments {
  Component component = nullptr;
  unsigned seconds = 0;
};

// What the client's thread was told, for the thread that prints: the client's callback has no
// context.
struct Told {
  OwnedKernelObject arrived;
  std::atomic<unsigned> count = 0;
  std::atomic<bool> isOn = false;
} told;

void OnMonitoring(bool on) {
  told.isOn = on;
  ++told.count;
  ::SetEvent(told.arrived.Get());
}

void PrintTold(const WatchArguments& arguments, bool isOn) {
  if (arguments.json) {
    PrintJsonLine({{"time", ToUtf8(IsoTime())},
                   {"component", arguments.component->name},
                   {"monitoring", isOn}});
    return;
  }
  Print(ClockTime() + L"  " + FromUtf8(arguments.component->name) + L": monitoring is " +
        (isOn ? L"on\n" : L"off\n"));
}

// Prints until the time is over or the operator interrupts; the exit code.
int PrintAsItComes(const WatchArguments& arguments) {
  const Deadline deadline(arguments.seconds);
  std::optional<bool> shown;
  ULONGLONG shownAt = 0;
  for (;;) {
    const WaitEnd end = WaitFor(told.arrived.Get(), deadline.Left());
    if (end != WaitEnd::signalled) return ExitCodeOf(end);
    // One signal may make the component look several times in a row, which is one line.
    const bool isOn = told.isOn;
    if (shown == isOn && ::GetTickCount64() - shownAt < kOneSignal) continue;
    PrintTold(arguments, isOn);
    shown = isOn;
    shownAt = ::GetTickCount64();
  }
}

int Watch(const WatchArguments& arguments) {
  told.arrived.Reset(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
  const RefPointer<SGMonClient> client(new SGMonClient(arguments.component->client, &OnMonitoring));
  // Returns without a callback when there is nothing to wait for.
  client->WaitInitComplete(INFINITE);
  if (told.count == 0) {
    return Fail(kExitNoInput, L"The wake-up event can neither be made nor opened",
                client->GetErrorCode());
  }
  return PrintAsItComes(arguments);
}

int Wake(const CommonArguments&) {
  constexpr int kSignals = 2;
  constexpr DWORD kHeld = 100;
  const OwnedKernelObject event(::OpenEventW(EVENT_MODIFY_STATE, FALSE, kSGMonWakeUpEvent));
  if (!event) {
    const DWORD status = ::GetLastError();
    if (status == ERROR_FILE_NOT_FOUND) {
      return Fail(kExitWarnings, L"Nobody is there to wake: no component is monitoring now.");
    }
    return Fail(kExitNoInput, L"The wake-up event cannot be opened", status);
  }
  // Held for a moment, so that a component that is just looking hears it after that, and may have
  // read what was stored before. The second signal is for one that looks for longer.
  for (int i = 0; i < kSignals; ++i) {
    ::SetEvent(event.Get());
    ::Sleep(kHeld);
    ::ResetEvent(event.Get());
  }
  Print(L"All components that are monitoring have been woken.\n");
  return kExitClean;
}

}  // namespace

void AddSgmonCommand(Command& program) {
  Command sgmon = program.AddGroup(
      "sgmon", "See whether service-group monitoring is on, and wake its components", kExamples);
  auto watch = sgmon.Add("watch", "Print what a component is told, as it comes", kExamples, Watch);
  std::vector<std::pair<const char*, Component>> components;
  for (const auto& row : kComponents) components.emplace_back(row.name, &row);
  watch.Choice("COMPONENT", watch->component, components, "One of the components below").Required();
  watch.Count("--for SECONDS", watch->seconds, "End after so many seconds", kSeconds);
  watch.Json("One JSON object each time");
  sgmon.Add("wake", "Make every component of this machine look again", kExamples, Wake);
}

}  // namespace vtctl
