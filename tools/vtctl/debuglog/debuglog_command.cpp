#include <vtclass/win32.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "log/debug/size_limits.h"
#include "tools/vtctl/debuglog/follow.h"
#include "tools/vtctl/debuglog/trace_file.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/interrupt.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/limit_remarks.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/paths.h"
#include "tools/vtctl/shared/system_text.h"
#include "tools/vtctl/shared/wait.h"
#include "vtclass/config.h"
#include "vtclass/debug_log.h"
#include "vtclass/settings_monitor.h"

namespace vtctl {
namespace {

using namespace debuglog;
using vtclass::log::LimitMode;

constexpr const char* kExamples =
    "A debug log is written only while \"CreateDebugLog\" is not 0, and goes by the other values "
    "of\n"
    "the product's logging key; 'vtctl settings list --key logging' shows them. All of them may "
    "be\n"
    "changed while a log is written. What happens at the size limit:\n"
    "  MaxDebugFile Enabled 0   a further file every 20 MB: trace-2.log, trace-3.log ...\n"
    "  MaxDebugFile Enabled 1   at size / count the file becomes trace.log.bak1, .bak2 ...\n"
    "    and LimitMode 1        one file, whose newest part moves to its front at the size\n"
    "\n"
    "Examples:\n"
    "  vtctl settings set CreateDebugLog 1\n"
    "  vtctl debuglog write C:\\Logs\\trace.log --lines 1000 --interval 10\n"
    "      try the settings out: print lines as a component does\n"
    "  vtctl debuglog follow C:\\Logs\\trace.log\n"
    "      see the lines come, across rolls and wraps\n"
    "  vtctl debuglog info C:\\Logs\\trace.log\n"
    "      size, encoding, rotated files, the limits by which a log that is made now goes, and\n"
    "      which rule changed them\n"
    "\n"
    "'follow' waits for a log that is not there yet.\n"
    "\n"
    "Exit codes: 0 clean, 1 'write' could not write every line, 66 the log cannot be read, with\n"
    "'follow --for' also one that did not come, 73 it cannot be written.";

constexpr DWORD kPollMilliseconds = 100;

// What all of the group take.
struct FileArguments : CommonArguments {
  Path file;
};

struct WriteArguments : FileArguments {
  std::wstring text = L"The quick brown fox jumps over the lazy dog";
  unsigned lines = 10;
  unsigned interval = 100;
  unsigned threads = 1;
  unsigned seconds = 0;
  bool ansi = false;
};

struct FollowArguments : FileArguments {
  unsigned lines = 10;
  unsigned seconds = 0;
};

int CannotOpen(const Path& file, DWORD status) {
  return Fail(kExitNoInput, Quoted(file) + L" cannot be opened", status);
}

std::wstring Megabytes(unsigned long long bytes) { return std::to_wstring(bytes >> 20) + L" MB"; }

// What a log that is made now goes by. A log stores defaults when it is made, and logs that run
// would follow them, so nothing here makes one.
struct Stored {
  unsigned long createDebugLog = vtclass::config::kCreateDebugLog.number;
  vtclass::log::SizeSettings sizes = ReadSizeSettings();
  vtclass::log::SizeLimits limits;
  bool refused = !vtclass::log::LimitsFrom(sizes, &limits);
};

Stored ReadStored() {
  Stored stored;
  Configuration key;
  unsigned long number = 0;
  if (key.Open(Configuration::openExisting, vtclass::config::kLoggingKey.Path(), nullptr,
               Configuration::accessRead) &&
      key.LoadDWORD(vtclass::config::kCreateDebugLog.name, number)) {
    stored.createDebugLog = number;
  }
  return stored;
}

std::wstring LimitText(const Stored& stored) {
  const vtclass::log::SizeLimits& limits = stored.limits;
  const std::wstring extension(limits.extension);
  switch (limits.mode) {
    case LimitMode::rename:
      return Megabytes(limits.maximum) + L" in " + std::to_wstring(limits.count) +
             L" rotated files (" + extension + L"1, oldest, to " + extension +
             std::to_wstring(limits.count) + L"); the file rolls at " +
             std::to_wstring(limits.Threshold()) + L" bytes";
    case LimitMode::wrap:
      return L"one file that wraps at " + Megabytes(limits.maximum) + L" and keeps " +
             Megabytes(limits.retention);
    default:
      return L"none; a further file every " + Megabytes(vtclass::log::kSimpleRollSize) +
             (stored.refused ? L" (the stored count or extension cannot be used)" : L"");
  }
}

// "on" or "off", and the limits with what makes them other than they are stored.
std::wstring SettingsText(const Stored& stored) {
  std::wstring text = L"Switch:    CreateDebugLog is " + std::to_wstring(stored.createDebugLog) +
                      (stored.createDebugLog != 0 ? L", on\n" : L", off\n") + L"Limits:    " +
                      LimitText(stored) + L"\n";
  for (const LimitRemark& remark : RemarksOn(stored.sizes)) {
    text += Wrapped(L"  ! ", remark.text, 4, static_cast<size_t>(TerminalWidth()));
  }
  return text;
}

// Lines of one thread, until they are all written or the command is to end.
struct Writing {
  DebugLog& log;
  const WriteArguments& arguments;
  const Deadline deadline;
  std::atomic<unsigned> written = 0;
  std::atomic<unsigned> refused = 0;

  void Run(unsigned thread) {
    for (unsigned n = 1; arguments.lines == 0 || n <= arguments.lines; ++n) {
      const int result = log.print(L"%s  thread %u  line %u  level %lu  %s\n", ClockTime().c_str(),
                                   thread, n, log.GetLogLevel(), arguments.text.c_str());
      ++(result ? written : refused);
      if (arguments.interval != 0) WaitFor(nullptr, arguments.interval);
      if (Interrupted() || deadline.IsOver()) return;
    }
  }
};

void PrintWritten(const DebugLog& log, const Writing& writing) {
  const std::wstring where =
      writing.written == 0 ? L"" : L", the last ones to " + Path(log.GetFileName()).Shown();
  Print(L"Written: " + std::to_wstring(writing.written) + L" lines" + where + L"\n");
  const unsigned long long lost = log.GetLostLines();
  if (writing.refused > lost) {
    Print(L"Not written while the log was off: " + std::to_wstring(writing.refused - lost) + L"\n");
  }
  if (lost != 0) {
    Print(L"Lost: " + std::to_wstring(lost) + L", " + SystemText(log.GetErrorCode()) + L"\n");
  }
}

int Write(const WriteArguments& arguments) {
  StringResourceMgr messages;
  LogFileFactory factory(messages, arguments.ansi ? 0 : 1);
  // The path is not stored: that value belongs to a component.
  const std::unique_ptr<DebugLog> log(
      factory.CreateDebugLog(nullptr, arguments.file.System().c_str()));
  const bool isOn = log->GetSettings().createDebugLog != 0;
  if (isOn && log->GetErrorCode() != 0) {
    return Fail(kExitCannotWrite, Quoted(arguments.file) + L" cannot be written",
                log->GetErrorCode());
  }
  Print(L"Limits: " + LimitText(ReadStored()) + L"\n");
  if (!isOn) {
    Remark(
        L"The log is off, so nothing is written until it is switched on: "
        L"vtctl settings set CreateDebugLog 1");
  }
  Writing writing{*log, arguments, Deadline(arguments.seconds)};
  std::vector<std::thread> others;
  for (unsigned n = 2; n <= arguments.threads; ++n) others.emplace_back([&, n] { writing.Run(n); });
  writing.Run(1);
  for (std::thread& other : others) other.join();
  PrintWritten(*log, writing);
  if (Interrupted()) return kExitCancelled;
  return writing.refused == 0 ? kExitClean : kExitWarnings;
}

// The log, or its folder: its component makes both.
bool IsNotThereYet(DWORD status) {
  return status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND;
}

int Follow(const FollowArguments& arguments) {
  Follower follower(arguments.file, [](const std::wstring& text) { Print(text); }, Remark);
  const Deadline deadline(arguments.seconds);
  DWORD status = follower.Start(arguments.lines);
  if (IsNotThereYet(status)) {
    Remark(Quoted(arguments.file) + L" is not there yet; waiting for it.");
  }
  while (IsNotThereYet(status)) {
    if (deadline.IsOver()) return CannotOpen(arguments.file, status);
    if (WaitFor(nullptr, kPollMilliseconds) != WaitEnd::timeout) return kExitCancelled;
    // All of a log that begins now is new.
    status = follower.Start(SIZE_MAX);
  }
  if (status != ERROR_SUCCESS) return CannotOpen(arguments.file, status);
  while (WaitFor(nullptr, kPollMilliseconds) == WaitEnd::timeout) {
    follower.Poll();
    if (deadline.IsOver()) return kExitClean;
  }
  follower.Poll();
  return kExitCancelled;
}

const char* ModeName(LimitMode mode) {
  if (mode == LimitMode::rename) return "rename";
  return mode == LimitMode::wrap ? "wrap" : "simple-roll";
}

Json InfoAsJson(const Path& path, const TraceFile& file, const std::vector<RotatedFile>& rotated,
                const Stored& stored) {
  Json json = {{"file", ToUtf8(path.Stored())},
               {"bytes", file.Size()},
               {"encoding", file.TextEncoding() == Encoding::utf16 ? "UTF-16" : "ANSI"},
               {"rotated", Json::array()},
               {"createDebugLog", stored.createDebugLog},
               {"limit", ModeName(stored.limits.mode)},
               {"refused", stored.refused},
               {"maximumSize", stored.limits.maximum},
               {"retentionSize", stored.limits.retention},
               {"count", stored.limits.count},
               {"extension", ToUtf8(stored.limits.extension)}};
  json["remarks"] = Json::array();
  for (const LimitRemark& remark : RemarksOn(stored.sizes)) {
    json["remarks"].push_back(ToUtf8(remark.text));
  }
  for (const RotatedFile& one : rotated) {
    json["rotated"].push_back({{"file", ToUtf8(one.path.Stored())}, {"bytes", one.size}});
  }
  return json;
}

void PrintInfo(const Path& path, const TraceFile& file, const std::vector<RotatedFile>& rotated,
               const Stored& stored) {
  const bool wide = file.TextEncoding() == Encoding::utf16;
  std::wstring text = L"File:      " + path.Shown() + L"\nSize:      " +
                      std::to_wstring(file.Size()) + L" bytes\nEncoding:  " +
                      (wide ? L"UTF-16" : L"ANSI") + L"\nRotated:   " +
                      (rotated.empty() ? L"none" : std::to_wstring(rotated.size())) +
                      (rotated.size() > 1 ? L", oldest first\n" : L"\n");
  for (const RotatedFile& one : rotated) {
    text += L"  " + one.path.Shown() + L"  " + std::to_wstring(one.size) + L" bytes\n";
  }
  Print(text + SettingsText(stored));
}

int Info(const FileArguments& arguments) {
  const Path& path = arguments.file;
  const Stored stored = ReadStored();
  TraceFile file;
  if (const DWORD status = file.Open(path)) {
    // Most often this is why there is no file.
    if (!arguments.json) Print(SettingsText(stored));
    return CannotOpen(path, status);
  }
  const std::vector<RotatedFile> rotated = RotatedFilesOf(path);
  if (arguments.json) {
    PrintJson(InfoAsJson(path, file, rotated, stored));
  } else {
    PrintInfo(path, file, rotated, stored);
  }
  return kExitClean;
}

// Ends the monitor that its log has started.
int WriteAndEnd(const WriteArguments& arguments) {
  const int result = Write(arguments);
  SettingsMonitor::DestroyInstance();
  return result;
}

template <typename Arguments>
CommandWith<Arguments> AddOperation(Command& group, const char* name, const char* description,
                                    int (*operation)(const Arguments&)) {
  CommandWith<Arguments> command = group.Add(name, description, kExamples, operation);
  command.File("FILE", command->file, "The debug log").Required();
  return command;
}

constexpr const char* kForText = "End after so many seconds";

}  // namespace

void AddDebugLogCommand(Command& program) {
  Command group = program.AddGroup(
      "debuglog", "Follow, examine and try out the debug logs of components", kExamples);
  auto write = AddOperation(
      group, "write", "Write lines as a component does, following the settings live", WriteAndEnd);
  write.Count("--lines N", write->lines, "Lines of each thread, 0 for no end (10)");
  write.Count("--interval MS", write->interval, "Milliseconds between two of them (100)",
              NumberRange<unsigned>{0, 3600000});
  write.Count("--threads N", write->threads, "Threads that share the log, 1 to 64 (1)",
              NumberRange<unsigned>{1, 64});
  write.Text("--text TEXT", write->text, "What each line ends with");
  write.Flag("--ansi", write->ansi, "Write in the ANSI code page, not in UTF-16");
  write.Count("--for SECONDS", write->seconds, kForText, kSeconds);
  auto follow =
      AddOperation(group, "follow", "Print the last lines and what comes; Ctrl+C ends it", Follow);
  follow.Count("--lines N", follow->lines, "How many lines to begin with (10)");
  follow.Count("--for SECONDS", follow->seconds, kForText, kSeconds);
  auto info = AddOperation(group, "info",
                           "Print size, encoding, rotated files and the stored limits", Info);
  info.Json("One JSON object");
}

}  // namespace vtctl
