#include "tools/vtctl/hive/diff.h"

#include <ranges>
#include <utility>
#include <vector>

#include "tools/vtctl/hive/live_key.h"
#include "tools/vtctl/shared/interrupt.h"

// The system's own table, by which the registry compares names.
extern "C" __declspec(dllimport) WCHAR NTAPI RtlUpcaseUnicodeChar(WCHAR character);

namespace vtctl {
namespace {

using vtclass::hive::Compare;
using vtclass::hive::KeyDifferences;
using vtclass::hive::KeyTree;
using vtclass::hive::NamedValue;
using vtclass::platform::OwnedRegistryKey;

// A key that both have, open as long as keys below it are to be compared: each is opened below its
// parent, because whole paths may be longer than the system takes.
struct OpenKey {
  OwnedRegistryKey owned; /* none for the first one, which belongs to the caller */
  HKEY key = nullptr;
  std::wstring path;
  std::vector<std::pair<std::size_t, std::wstring>> below; /* node and name, the next one last */
};

class Diff {
 public:
  Diff(const KeyTree& file, const std::function<void(const Difference&)>& report)
      : file(file), report(report) {}

  DiffSummary Run(HKEY root) {
    if (file.Nodes().empty()) return summary;
    open.emplace_back().key = root;
    CompareLast(0);
    while (!open.empty() && !Interrupted()) {
      if (open.back().below.empty()) {
        open.pop_back();
      } else {
        Descend();
      }
    }
    return summary;
  }

 private:
  void Descend() {
    OpenKey& parent = open.back();
    const auto [node, name] = std::move(parent.below.back());
    parent.below.pop_back();
    OpenKey child;
    child.path = Below(parent, name);
    const LSTATUS status = OpenBelow(parent.key, name, child.owned);
    if (status != ERROR_SUCCESS) {
      Unreadable(child.path, status);
      return;
    }
    child.key = child.owned.Get();
    open.push_back(std::move(child));
    CompareLast(node);
  }

  void CompareLast(std::size_t node) {
    OpenKey& here = open.back();
    const KeyTree::Node& stored = file.Nodes()[node];
    LiveKey live;
    if (const LSTATUS status = ReadLiveKey(here.key, live)) {
      Unreadable(here.path, status);
      return;
    }
    ++summary.keys;
    const KeyDifferences found = Compare(stored.contents, live.contents, &::RtlUpcaseUnicodeChar);
    TellValues(here.path, stored.contents.values, live.contents.values, found);
    for (const std::size_t place : found.subkeysOnlyInFirst) {
      Tell({Difference::keyNotInRegistry, Below(here, stored.contents.subkeys[place]), {}});
    }
    for (const std::size_t place : found.subkeysOnlyInSecond) {
      ++summary.keysNotInFile;
      Tell({Difference::keyNotInFile, Below(here, live.contents.subkeys[place]), {}});
    }
    for (const auto& [ours, theirs] : std::views::reverse(found.commonSubkeys)) {
      here.below.emplace_back(stored.subkeys[ours], live.contents.subkeys[theirs]);
    }
  }

  void TellValues(const std::wstring& path, const std::vector<NamedValue>& stored,
                  const std::vector<NamedValue>& live, const KeyDifferences& found) {
    summary.values += stored.size() + found.valuesOnlyInSecond.size();
    for (const std::size_t place : found.valuesOnlyInFirst) {
      Tell({Difference::valueNotInRegistry, path, stored[place].name, &stored[place]});
    }
    for (const std::size_t place : found.valuesOnlyInSecond) {
      Tell({Difference::valueNotInFile, path, live[place].name, nullptr, &live[place]});
    }
    for (const auto& [ours, theirs] : found.unlikeValues) {
      const bool sameType = stored[ours].type == live[theirs].type;
      Tell({sameType ? Difference::otherData : Difference::otherType, path, live[theirs].name,
            &stored[ours], &live[theirs]});
    }
  }

  static std::wstring Below(const OpenKey& parent, const std::wstring& name) {
    return parent.path.empty() ? name : parent.path + L"\\" + name;
  }

  void Tell(const Difference& difference) {
    ++summary.differences;
    report(difference);
  }

  void Unreadable(const std::wstring& path, LSTATUS status) {
    ++summary.unreadable;
    report(
        {Difference::unreadable, path, {}, nullptr, nullptr, static_cast<unsigned long>(status)});
  }

  const KeyTree& file;
  const std::function<void(const Difference&)>& report;
  DiffSummary summary;
  std::vector<OpenKey> open;
};

}  // namespace

DiffSummary CompareWithKey(const KeyTree& file, HKEY key,
                           const std::function<void(const Difference&)>& report) {
  return Diff(file, report).Run(key);
}

}  // namespace vtctl
