#include <vtclass/win32.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "config/product_keys.h"
#include "platform/owned.h"
#include "tools/vtctl/registry/replica.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"
#include "tools/vtctl/shared/wait.h"
#include "vtclass/replication.h"

namespace vtctl {
namespace {

using vtclass::platform::OwnedKernelObject;
using vtclass::platform::OwnedRegistryKey;

// Saves are counted, and a key that is gone gives no sign: both are looked at so often.
constexpr DWORD kLook = 200;

constexpr const char* kExamples =
    "Saves KEY with everything below it to a file in DIR, at once and each time it has changed "
    "and\n"
    "then rested for 3 seconds, as the product's components do. HKLM\\Software\\A\\B goes to\n"
    "Software_A_B.dat, and so does HKLM\\Software\\A_B: give such keys a folder each. The file\n"
    "always holds a whole save; 'vtctl restore' loads it. What changed less than 3 seconds before\n"
    "the end is not saved any more.\n"
    "\n"
    "It needs the privilege SeBackupPrivilege: start vtctl as administrator.\n"
    "\n"
    "Examples:\n"
    "  vtctl replicate \"HKLM\\" VTCLASS_PRODUCT_ROOT
    "\" D:\\Rep --once\n"
    "  vtctl replicate \"HKLM\\" VTCLASS_PRODUCT_ROOT
    "\" D:\\Rep --for 3600\n"
    "\n"
    "Exit codes: 0 saved, 2 the last save failed, 64 KEY is a root, 65 DIR is no path, 66 the key "
    "is missing or may\n"
    "not be read, or was deleted meanwhile, 73 DIR cannot be made or, with --once, the save "
    "failed,\n"
    "130 interrupted.";

struct ReplicateArguments : ReplicaArguments {
  bool isOnce = false;
  unsigned seconds = 0;
};

// The replicator, and what it has reported and nobody has told the operator yet.
class Replica : public RegistryKeyReplicator {
 public:
  ~Replica() { TerminateReplication(); }

  bool Start(const ReplicaArguments& arguments) {
    const KeyPath key = arguments.Key();
    return InitiateReplication(key.root, key.subkey, arguments.Directory(), true) != 0;
  }
  HANDLE Arrived() const { return arrived.Get(); }
  std::vector<unsigned long> TakeErrors() {
    const std::lock_guard hold(lock);
    return std::exchange(errors, {});
  }

 private:
  void OnReplicationError(unsigned long error, const wcstring&) override {
    {
      const std::lock_guard hold(lock);
      errors.push_back(error);
    }
    ::SetEvent(arrived.Get());
  }

  std::mutex lock;
  std::vector<unsigned long> errors;
  const OwnedKernelObject arrived{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
};

std::wstring SizeOf(const Path& file) {
  WIN32_FILE_ATTRIBUTE_DATA data = {};
  // Another save may be about to take its place.
  if (!::GetFileAttributesExW(file.System().c_str(), GetFileExInfoStandard, &data)) return {};
  const ULARGE_INTEGER size = {{data.nFileSizeLow, data.nFileSizeHigh}};
  return L", " + WithUnit(size.QuadPart);
}

// Why a save failed, and what can be done about it.
std::wstring ReasonText(unsigned long status) {
  std::wstring text = SystemText(status);
  switch (status) {
    case ERROR_ALREADY_EXISTS:
      return L"somebody holds the data file open, and it stays as it was, or a folder has its "
             L"name: " +
             text;
    case ERROR_FILE_EXISTS:
      return L"all names from RegRep1.dat to RegRep99.dat are taken; what interrupted saves left "
             L"there may be deleted: " +
             text;
    case ERROR_PATH_NOT_FOUND:
      return L"the folder is gone: " + text;
    case ERROR_PRIVILEGE_NOT_HELD:
      return L"start vtctl as administrator: " + text;
    default:
      return text;
  }
}

void PrintOutcome(const ReplicateArguments& arguments, unsigned long status) {
  const Path file = arguments.DataFile();
  if (arguments.json) {
    Json line = {{"time", ToUtf8(IsoTime())},
                 {"key", ToUtf8(KeyName(arguments.Key()))},
                 {"file", ToUtf8(file.Stored())},
                 {"saved", status == ERROR_SUCCESS}};
    AddStatus(line, status);
    if (status != ERROR_SUCCESS) line["error"] = ToUtf8(ReasonText(status));
    PrintJsonLine(line);
  } else if (status == ERROR_SUCCESS) {
    Print(ClockTime() + L"  saved to " + file.Shown() + SizeOf(file) + L"\n");
  } else {
    PrintError(ClockTime() + L"  not saved: " + ReasonText(status) + L"\n");
  }
}

int FailToStart(const ReplicateArguments& arguments) {
  const DWORD status = ::GetLastError();
  return Fail(kExitCannotWrite,
              Printable(KeyName(arguments.Key())) + L" cannot be replicated to " +
                  arguments.folder.Shown() + L"",
              status);
}

int SaveOnce(const ReplicateArguments& arguments) {
  Replica replica;
  if (!replica.Start(arguments)) return FailToStart(arguments);
  replica.TerminateReplication();
  const std::vector<unsigned long> errors = replica.TakeErrors();
  const unsigned long status = errors.empty() ? ERROR_SUCCESS : errors.back();
  if (status == ERROR_SUCCESS) {
    PrintOutcome(arguments, status);
    return kExitClean;
  }
  return FailWith(kExitCannotWrite, status,
                  Printable(KeyName(arguments.Key())) + L" was not saved: " + ReasonText(status));
}

// A deleted key is followed no longer, and nobody is told.
bool IsDeleted(HKEY key) {
  return ::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr, nullptr, nullptr) == ERROR_KEY_DELETED;
}

int Follow(const ReplicateArguments& arguments, HKEY key) {
  Replica replica;
  if (!arguments.json) {
    Print(L"Replicating " + Printable(KeyName(arguments.Key())) + L"; Ctrl+C ends it.\n");
  }
  if (!replica.Start(arguments)) return FailToStart(arguments);
  const Deadline deadline(arguments.seconds);
  unsigned long told = 0;
  bool hasFailed = false;
  for (;;) {
    const WaitEnd end = WaitFor(replica.Arrived(), std::min(deadline.Left(), kLook));
    const unsigned long saves = replica.GetSaveCount();
    for (const unsigned long error : replica.TakeErrors()) {
      PrintOutcome(arguments, error);
      hasFailed = true;
    }
    for (; told != saves; ++told) {
      PrintOutcome(arguments, ERROR_SUCCESS);
      hasFailed = false;
    }
    if (end == WaitEnd::interrupted || end == WaitEnd::failed) return ExitCodeOf(end);
    if (deadline.IsOver()) return hasFailed ? kExitErrors : kExitClean;
    if (IsDeleted(key)) {
      return Fail(kExitNoInput, Printable(KeyName(arguments.Key())) +
                                    L" has been deleted; it is not followed any more, and " +
                                    arguments.DataFile().Shown() + L" is as it was.");
    }
  }
}

int Run(const ReplicateArguments& arguments) {
  const int code = Check(arguments);
  if (code != kExitClean) return code;
  const KeyPath path = arguments.Key();
  OwnedRegistryKey key;
  const LSTATUS status =
      ::RegOpenKeyExW(path.root, path.subkey.c_str(), 0, KEY_READ, key.Receive());
  if (status != ERROR_SUCCESS) {
    return Fail(kExitNoInput, Printable(KeyName(path)) + L" cannot be opened",
                static_cast<unsigned long>(status));
  }
  return arguments.isOnce ? SaveOnce(arguments) : Follow(arguments, key.Get());
}

}  // namespace

void AddReplicateCommand(Command& program) {
  auto replicate =
      program.Add("replicate", "Keep a file copy of a registry key up to date", kExamples, Run);
  AddReplicaArguments(replicate);
  replicate.Flag("--once", replicate->isOnce, "Save now and end");
  replicate.Count("--for SECONDS", replicate->seconds, "End after so many seconds", kSeconds);
  replicate.Json("One JSON object for each save and each failure");
}

}  // namespace vtctl
