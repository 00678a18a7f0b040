#include <vtclass/win32.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "hive/hive_reader.h"
#include "hive/key_tree.h"
#include "tools/vtctl/hive/diff.h"
#include "tools/vtctl/hive/hive_file.h"
#include "tools/vtctl/hive/problem_text.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/interrupt.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/key_reader.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"
#include "tools/vtctl/shared/value.h"

namespace vtctl {
namespace {

using namespace vtclass::hive;

constexpr const char* kExamples =
    "FILE is a registry key as the system saves it (a hive), such as the data file of a "
    "replicated\n"
    "key. It is only read: nothing is loaded or restored.\n"
    "\n"
    "Examples:\n"
    "  vtctl hive verify D:\\Rep\\Software_Test.dat\n"
    "      go through all keys and values: would this copy restore?\n"
    "  vtctl hive list D:\\Rep\\Software_Test.dat\n"
    "      everything that is in it\n"
    "  vtctl hive diff D:\\Rep\\Software_Test.dat HKLM\\Software\\Test\n"
    "      does it hold what the key holds now?\n"
    "\n"
    "Exit codes: 0 sound, and for diff the same; 1 something to know: an irregularity that loses\n"
    "nothing, for diff a difference or a key that may not be read; 2 damaged, 65 no hive, 66 the\n"
    "file or the key cannot be read, 73 the output cannot be written.";

struct HiveArguments : CommonArguments {
  Path file;
};

struct DiffArguments : HiveArguments {
  std::optional<KeyPath> key;
};

// Keeps what reading reports, to tell it in its place.
class Problems {
 public:
  explicit Problems(bool json) : json(json) {}

  ReportProblem Sink() {
    return [this](const Problem& problem) {
      if (++count > kMostProblems) return;
      text += json ? L"" : ProblemLine(problem);
      if (json) list.push_back(ProblemJson(problem));
    };
  }

  std::wstring Text() const {
    if (count <= kMostProblems) return text;
    return text + L"... and " + std::to_wstring(count - kMostProblems) + L" more\n";
  }
  const Json& List() const { return list; }

 private:
  bool json;
  std::size_t count = 0;
  std::wstring text;
  Json list = Json::array();
};

// Reads to the end of the hive.
class Nobody : public HiveVisitor {
 public:
  bool OnKey(const Key&) override { return !Interrupted(); }
  bool OnValue(const vtclass::hive::StoredValue&) override { return true; }
};

std::wstring Counts(std::size_t keys, std::size_t values) {
  return Counted(keys, L"key") + L" and " + Counted(values, L"value");
}

std::string TimeText(std::uint64_t ticks) {
  const FILETIME time = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  SYSTEMTIME parts = {};
  return ::FileTimeToSystemTime(&time, &parts) ? ToUtf8(IsoTime(parts)) : "";
}

std::wstring Verdict(const HiveSummary& summary) {
  const std::wstring warnings = Counted(summary.warnings, L"irregularity", L"irregularities");
  if (summary.errors != 0) {
    return L"Damaged, " + Counted(summary.errors, L"error") + L": do not count on this copy.\n";
  }
  if (summary.warnings == 0) return L"Sound: every key and value can be read. It would restore.\n";
  return L"Readable with " + warnings +
         L": every key and value can be read, and the system may mend or miss something.\n";
}

Json SummaryJson(const HiveArguments& arguments, const HiveSummary& summary) {
  return {{"file", ToUtf8(arguments.file.Stored())},
          {"version", "1." + std::to_string(summary.minorVersion)},
          {"lastWritten", TextOrNull(FromUtf8(TimeText(summary.lastWritten)))},
          {"keys", summary.keys},
          {"values", summary.values},
          {"dataBytes", summary.dataBytes},
          {"deepest", summary.deepest},
          {"errors", summary.errors},
          {"warnings", summary.warnings}};
}

void PrintSummary(const HiveArguments& arguments, const HiveSummary& summary) {
  Print(arguments.file.Shown() + L": a hive of version 1." + std::to_wstring(summary.minorVersion) +
        L", last written " + FromUtf8(TimeText(summary.lastWritten)) + L"\n  " +
        Counts(summary.keys, summary.values) + L", " + WithUnit(summary.dataBytes) + L" of data, " +
        Counted(summary.deepest, L"level") + L" below its first key\n");
}

int Verify(const HiveArguments& arguments) {
  std::vector<unsigned char> bytes;
  if (const int failed = LoadHive(arguments.file, bytes)) return failed;
  Problems problems(arguments.json);
  Nobody nobody;
  const HiveSummary summary = ReadHive(bytes, nobody, problems.Sink());
  if (arguments.json) {
    Json json = SummaryJson(arguments, summary);
    json["problems"] = problems.List();
    PrintJson(json);
  } else {
    if (summary.minorVersion != 0) PrintSummary(arguments, summary);
    Print(problems.Text());
    if (summary.minorVersion != 0 && !Interrupted()) Print(Verdict(summary));
  }
  return VerdictOn(arguments.file, summary);
}

Value Copied(const StoredData& data, std::uint32_t type) { return {type, data.Copy()}; }

Json DataJson(const Value& value) {
  Json json = {{"bytes", value.data.size()}};
  json.update(ToJson(value));
  return json;
}

// Prints as it reads.
class Lister : public HiveVisitor {
 public:
  explicit Lister(bool json) : json(json) {}

  bool OnKey(const Key& key) override {
    path = key.path;
    if (json) {
      PrintJsonLine({{"key", ToUtf8(path)}, {"link", key.isLink}});
    } else {
      Print(ShownPath(path) + (key.isLink ? L"  (symbolic link)\n" : L"\n"));
    }
    return !Interrupted();
  }

  bool OnValue(const vtclass::hive::StoredValue& stored) override {
    const std::wstring name = stored.name.Text();
    const Value value = Copied(stored.data, stored.type);
    if (json) {
      Json line = {{"key", ToUtf8(path)}, {"name", ToUtf8(name)}};
      line.update(DataJson(value));
      PrintJsonLine(line);
    } else {
      Print(L"  " + ShownName(name) + L" = " + OneLine(value) + L"  [" + TypeName(value.type) +
            L", " + Counted(value.data.size(), L"byte") + L"]\n");
    }
    return !Interrupted();
  }

 private:
  bool json;
  std::wstring path;
};

int List(const HiveArguments& arguments) {
  std::vector<unsigned char> bytes;
  if (const int failed = LoadHive(arguments.file, bytes)) return failed;
  Problems problems(false);
  Lister lister(arguments.json);
  const HiveSummary summary = ReadHive(bytes, lister, problems.Sink());
  PrintError(problems.Text());
  return VerdictOn(arguments.file, summary);
}

const wchar_t* const kDifferenceNames[] = {L"key not in the file",   L"key not in the registry",
                                           L"value not in the file", L"value not in the registry",
                                           L"type differs",          L"data differs",
                                           L"not readable"};

std::wstring ShownValue(const NamedValue& value) {
  return OneLine(Copied(value.data, value.type)) + L"  [" + TypeName(value.type) + L"]";
}

std::wstring ShownBytes(const NamedValue& value) {
  return OneLine(Copied(value.data, REG_BINARY)) + L"  [" + TypeName(value.type) + L"]";
}

std::wstring DifferenceLine(const KeyPath& key, const Difference& difference) {
  std::wstring line =
      std::wstring(kDifferenceNames[difference.kind]) + L"  " + Printable(KeyName(key));
  if (!difference.key.empty()) line += ShownPath(difference.key);
  if (difference.kind == Difference::unreadable)
    return line + L": " + SystemText(difference.status) + L"\n";
  const NamedValue* const inFile = difference.inFile;
  const NamedValue* const inRegistry = difference.inRegistry;
  if (!inFile && !inRegistry) return line + L"\n";
  line += L"  " + ShownName(difference.name);
  if (!inFile || !inRegistry)
    return line + L" = " + ShownValue(inFile ? *inFile : *inRegistry) + L"\n";
  std::wstring ours = ShownValue(*inFile);
  std::wstring theirs = ShownValue(*inRegistry);
  if (ours == theirs) {
    // What differs lies behind the end of a text, or cannot be shown.
    ours = ShownBytes(*inFile);
    theirs = ShownBytes(*inRegistry);
  }
  return line + L": in the file " + ours + L", in the registry " + theirs + L"\n";
}

Json DifferenceJson(const Difference& difference) {
  Json json = {{"difference", ToUtf8(kDifferenceNames[difference.kind])},
               {"key", ToUtf8(difference.key)}};
  if (difference.kind == Difference::unreadable) json["status"] = difference.status;
  if (difference.inFile || difference.inRegistry) json["name"] = ToUtf8(difference.name);
  const auto add = [&json](const char* side, const NamedValue* value) {
    if (value) json[side] = DataJson(Copied(value->data, value->type));
  };
  add("file", difference.inFile);
  add("registry", difference.inRegistry);
  return json;
}

std::wstring Closing(const DiffSummary& summary) {
  std::wstring text = Counts(summary.keys, summary.values) + L" compared: ";
  text += summary.differences == 0
              ? L"no difference.\n"
              : Counted(summary.differences, L"difference.\n", L"differences.\n");
  if (summary.unreadable != 0) {
    text += Counted(summary.unreadable, L"key") +
            L" of the registry could not be read, and nothing below was compared.\n";
  }
  if (summary.keysNotInFile != 0) {
    text += L"The system saves no volatile keys: a key that is not in the file may be one.\n";
  }
  return text;
}

int CompareAndTell(const DiffArguments& arguments, const KeyTree& tree, HKEY key) {
  const KeyPath path = arguments.key.value_or(KeyPath());
  const DiffSummary summary = CompareWithKey(tree, key, [&](const Difference& difference) {
    arguments.json ? PrintJsonLine(DifferenceJson(difference))
                   : Print(DifferenceLine(path, difference));
  });
  if (Interrupted()) return kExitCancelled;
  if (arguments.json) {
    PrintJsonLine({{"keys", summary.keys},
                   {"values", summary.values},
                   {"differences", summary.differences},
                   {"unreadable", summary.unreadable}});
  } else {
    Print(Closing(summary));
  }
  return summary.differences + summary.unreadable == 0 ? kExitClean : kExitWarnings;
}

int RunDiff(const DiffArguments& arguments) {
  const KeyTarget target = {arguments.key.value_or(KeyPath()), L"", 0};
  KeyHandle key;
  if (const LSTATUS status = key.Open(target)) {
    return Fail(kExitNoInput, Printable(KeyName(target.path)) + L" cannot be opened",
                static_cast<unsigned long>(status));
  }
  std::vector<unsigned char> bytes;
  if (const int failed = LoadHive(arguments.file, bytes)) return failed;
  Problems problems(false);
  KeyTree tree;
  const HiveSummary read = ReadHive(bytes, tree, problems.Sink());
  PrintError(problems.Text());
  const int verdict = VerdictOn(arguments.file, read);
  if (verdict > kExitErrors) return verdict;
  return std::max(verdict, CompareAndTell(arguments, tree, key.Get()));
}

template <typename Arguments>
CommandWith<Arguments> AddOperation(Command& hive, const char* name, const char* description,
                                    int (*operation)(const Arguments&)) {
  CommandWith<Arguments> command = hive.Add(name, description, kExamples, operation);
  command.File("FILE", command->file, "The saved key").Required();
  return command;
}

}  // namespace

void AddHiveCommand(Command& program) {
  Command hive =
      program.AddGroup("hive", "Look into saved registry keys without restoring them", kExamples);
  auto verify = AddOperation(hive, "verify", "Tell whether a saved key would restore", Verify);
  verify.Json("One JSON object with counts and problems");
  auto list = AddOperation(hive, "list", "Print all keys and values of a saved key", List);
  list.Json("One JSON object a key and a value");
  auto diff = AddOperation(hive, "diff", "Compare a saved key with a key of the registry", RunDiff);
  diff.Key("KEY", diff->key, "The key to compare it with").Required();
  diff.Json("One JSON object a difference, the last one with counts");
}

}  // namespace vtctl
