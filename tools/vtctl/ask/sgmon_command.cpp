#include <vtclass/win32.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "platform/critical_section.h"
#include "platform/owned.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/interrupt.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/monitor.h"
#include "vtclass/product.h"

namespace vtctl {
namespace {

using vtclass::platform::CriticalSection;
using vtclass::platform::OwnedKernelObject;
using vtclass::platform::ScopedLock;

constexpr ULONGLONG kOneSignal = 500; /* milliseconds */
constexpr wchar_t kWakeUpEvent[] = L"Global\\SGMonWakeUp";

constexpr const char* kExamples =
    "Monitoring is switched on by two values of the product's debug key: \"SGMon Enabled\" (1 is "
    "on)\n"
    "and \"SGMon Components\" (the sum of engine 1, agent 2, device-media 4, catalog 8, "
    "job-manager\n"
    "16, ndmp 32, library 64). Components look again when they are woken.\n"
    "\n"
    "Examples (KEY is \"Software\\Norvane\\Vantorel For Windows\\Vantorel\\Debug\"):\n"
    "  vtctl sgmon watch agent --for 60\n"
    "      what the agent is told, now and at each wake-up\n"
    "  vtctl registry set KEY \"SGMon Enabled\" 1 --type dword\n"
    "  vtctl registry set KEY \"SGMon Components\" 6 --type dword\n"
    "  vtctl sgmon wake\n"
    "      make every component of this machine look again";

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

struct SgmonArguments {
  std::string component;
  unsigned long product = 0;
  unsigned seconds = 0;
  bool json = false;
};

/* What the client's thread was told, for the thread that prints: the client's callback has no
 * context. */
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

void PrintTold(const SgmonArguments& arguments, bool isOn) {
  if (arguments.json) {
    const nlohmann::ordered_json line = {{"component", arguments.component}, {"monitoring", isOn}};
    PrintUtf8(line.dump() + "\n");
    return;
  }
  Print(ClockTime() + L"  " + FromUtf8(arguments.component) + L": monitoring is " +
        (isOn ? L"on\n" : L"off\n"));
}

/* Prints until the time is over; false when the operator interrupts. */
bool PrintAsItComes(const SgmonArguments& arguments) {
  const ULONGLONG end = ::GetTickCount64() + arguments.seconds * 1000ULL;
  const HANDLE handles[] = {told.arrived.Get(), InterruptEvent()};
  std::optional<bool> shown;
  ULONGLONG shownAt = 0;
  for (;;) {
    const ULONGLONG now = ::GetTickCount64();
    const DWORD limit = now >= end ? 0 : static_cast<DWORD>(end - now);
    const DWORD result = ::WaitForMultipleObjects(ARRAYSIZE(handles), handles, FALSE,
                                                  arguments.seconds == 0 ? INFINITE : limit);
    if (result != WAIT_OBJECT_0) return result != WAIT_OBJECT_0 + 1;
    /* One signal may make the component look several times in a row, which is one line. */
    const bool isOn = told.isOn;
    if (shown == isOn && ::GetTickCount64() - shownAt < kOneSignal) continue;
    PrintTold(arguments, isOn);
    shown = isOn;
    shownAt = ::GetTickCount64();
  }
}

int Watch(const SgmonArguments& arguments) {
  const auto component = std::ranges::find_if(
      kComponents, [&](const auto& row) { return arguments.component == row.name; });
  told.arrived.Reset(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
  const RefPointer<SGMonClient> client(new SGMonClient(component->client, &OnMonitoring));
  /* Returns without a callback when there is nothing to wait for. */
  client->WaitInitComplete(INFINITE);
  if (told.count == 0) {
    return Fail(kExitNoInput, L"The wake-up event can neither be made nor opened: " +
                                  SystemText(client->GetErrorCode()));
  }
  return PrintAsItComes(arguments) ? kExitClean : kExitCancelled;
}

int Wake(const SgmonArguments&) {
  constexpr int kSignals = 2;
  constexpr DWORD kHeld = 100;
  const OwnedKernelObject event(::OpenEventW(EVENT_MODIFY_STATE, FALSE, kWakeUpEvent));
  if (!event) {
    const DWORD status = ::GetLastError();
    if (status == ERROR_FILE_NOT_FOUND) {
      return Fail(kExitWarnings, L"Nobody is there to wake: no component is monitoring now.");
    }
    return Fail(kExitNoInput, L"The wake-up event cannot be opened: " + SystemText(status));
  }
  /* Held for a moment, so that a component that is just looking hears it after that, and may have
   * read what was stored before. The second signal is for one that looks for longer. */
  for (int i = 0; i < kSignals; ++i) {
    ::SetEvent(event.Get());
    ::Sleep(kHeld);
    ::ResetEvent(event.Get());
  }
  Print(L"All components that are monitoring have been woken.\n");
  return kExitClean;
}

void SetRun(CLI::App* command, ChosenCommand& chosen,
            const std::shared_ptr<SgmonArguments>& arguments,
            int (*operation)(const SgmonArguments&)) {
  command->footer(kExamples);
  command->callback([&chosen, arguments, operation] {
    chosen.run = [arguments, operation] {
      CMS_SetProd(arguments->product);
      return operation(*arguments);
    };
  });
}

}  // namespace

void AddSgmonCommand(CLI::App& app, ChosenCommand& chosen) {
  CLI::App* sgmon = app.add_subcommand(
      "sgmon", "See whether service-group monitoring is on, and wake its components");
  sgmon->require_subcommand(1);
  sgmon->footer(kExamples);
  const auto arguments = std::make_shared<SgmonArguments>();
  std::vector<std::string> names;
  for (const auto& row : kComponents) names.emplace_back(row.name);

  CLI::App* watch = sgmon->add_subcommand("watch", "Print what a component is told, as it comes");
  watch->add_option("COMPONENT", arguments->component, "One of the components below")
      ->required()
      ->check(CLI::IsMember(names))
      ->option_text(" ");
  watch->add_option("--for", arguments->seconds, "End after so many seconds")
      ->check(CLI::Range(1U, 1000000U))
      ->option_text("SECONDS");
  watch->add_option("--product", arguments->product, "1 for the sibling product's registry root")
      ->option_text("N");
  watch->add_flag("--json", arguments->json, "One JSON object each time");
  SetRun(watch, chosen, arguments, Watch);

  CLI::App* wake = sgmon->add_subcommand("wake", "Make every component of this machine look again");
  SetRun(wake, chosen, arguments, Wake);
}

}  // namespace vtctl
