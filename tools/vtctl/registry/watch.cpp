#include "tools/vtctl/registry/watch.h"

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/exit_code.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"
#include "tools/vtctl/shared/wait.h"

namespace vtctl {
namespace {

const wchar_t* const kKindNames[] = {L"key added", L"key deleted", L"value added", L"value changed",
                                     L"value deleted"};

std::wstring Joined(const std::wstring& path, const std::wstring& name) {
  return path.empty() ? name : path + L"\\" + name;
}

void CompareValues(const std::wstring& key, const std::map<std::wstring, Value>& before,
                   const std::map<std::wstring, Value>& after, std::vector<KeyChange>& changes) {
  for (const auto& [name, value] : before) {
    if (!after.contains(name)) changes.push_back({KeyChange::valueDeleted, key, name, value});
  }
  for (const auto& [name, value] : after) {
    const auto old = before.find(name);
    if (old == before.end()) {
      changes.push_back({KeyChange::valueAdded, key, name, value});
    } else if (old->second != value) {
      changes.push_back({KeyChange::valueChanged, key, name, value});
    }
  }
}

void PrintChange(const KeyTarget& target, const KeyChange& change, bool json) {
  const bool isValue = change.kind >= KeyChange::valueAdded;
  const std::wstring key = Joined(KeyName(target.path), change.key);
  if (json) {
    Json line = {{"time", ToUtf8(IsoTime())},
                 {"change", ToUtf8(kKindNames[change.kind])},
                 {"key", ToUtf8(key)}};
    if (isValue) {
      line["name"] = ToUtf8(change.name);
      line.update(ToJson(change.value));
    }
    PrintJsonLine(line);
    return;
  }
  std::wstring line = ClockTime() + L"  " + kKindNames[change.kind] + L"  " + Printable(key);
  if (isValue) {
    line += L"  " + ShownName(change.name);
    line += L" = " + OneLine(change.value) + L"  [" + TypeName(change.value.type) + L"]";
  }
  Print(line + L"\n");
}

int Fail(const KeyTarget& target, long status) {
  return Fail(kExitNoInput, KeyName(target.path) + L" cannot be watched",
              static_cast<unsigned long>(status));
}

// The registration, the last state that was read, and how much time is left.
class Watcher {
 public:
  Watcher(const KeyTarget& target, const WatchOptions& options)
      : target(target), options(options), configuration(target.path.root) {}

  int Run() {
    event.Reset(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
    if (!event) return Fail(target, static_cast<long>(::GetLastError()));
    const LSTATUS status = handle.Open(target);
    if (status != ERROR_SUCCESS) return Fail(target, status);
    const wchar_t* machine = target.machine.empty() ? nullptr : target.machine.c_str();
    if (!configuration.Open(Configuration::openExisting, target.path.subkey.c_str(), machine,
                            Configuration::accessRead | target.view) ||
        !configuration.RegisterForChanges(true, event.Get())) {
      return Fail(target, configuration.GetErrorCode());
    }
    tree = ReadTree(handle.Get());
    if (!options.json) {
      Print(L"Watching " + KeyName(target.path) + L" and everything below; Ctrl+C ends it.\n");
    }
    return Loop();
  }

 private:
  int Loop() {
    const Deadline deadline(options.seconds);
    unsigned seen = 0;
    for (;;) {
      switch (WaitFor(event.Get(), deadline.Left())) {
        case WaitEnd::signalled:
          break;
        case WaitEnd::interrupted:
          return kExitCancelled;
        case WaitEnd::timeout:
          return options.count != 0 ? kExitWarnings : kExitClean;
        case WaitEnd::failed:
          return Fail(target, static_cast<long>(::GetLastError()));
      }
      // Armed again before reading: a change in between is then either read now or signalled.
      if (!configuration.RegisterForChanges(true, event.Get())) {
        return Fail(target, configuration.GetErrorCode());
      }
      seen += PrintChanges();
      if (options.count != 0 && seen >= options.count) return kExitClean;
    }
  }

  unsigned PrintChanges() {
    KeyTree now = ReadTree(handle.Get());
    const std::vector<KeyChange> changes = Compare(tree, now);
    for (const KeyChange& change : changes) PrintChange(target, change, options.json);
    tree = std::move(now);
    return static_cast<unsigned>(changes.size());
  }

  const KeyTarget& target;
  const WatchOptions& options;
  vtclass::platform::OwnedKernelObject event;
  KeyHandle handle;
  Configuration configuration;
  KeyTree tree;
};

}  // namespace

KeyTree ReadTree(HKEY key) {
  KeyTree tree;
  std::vector<std::wstring> waiting = {L""};
  while (!waiting.empty()) {
    const std::wstring path = std::move(waiting.back());
    waiting.pop_back();
    KeyContents contents = ReadKey(key, path);
    for (const std::wstring& name : contents.subkeys) waiting.push_back(Joined(path, name));
    tree[path] = std::move(contents.values);
  }
  return tree;
}

std::vector<KeyChange> Compare(const KeyTree& before, const KeyTree& after) {
  std::vector<KeyChange> changes;
  for (const auto& [path, values] : before) {
    if (!after.contains(path)) changes.push_back({KeyChange::keyDeleted, path, {}, {}});
  }
  for (const auto& [path, values] : after) {
    const auto old = before.find(path);
    if (old == before.end()) changes.push_back({KeyChange::keyAdded, path, {}, {}});
    CompareValues(path, old == before.end() ? std::map<std::wstring, Value>() : old->second, values,
                  changes);
  }
  return changes;
}

int Watch(const KeyTarget& target, const WatchOptions& options) {
  return Watcher(target, options).Run();
}

}  // namespace vtctl
