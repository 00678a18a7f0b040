#include <vtclass/win32.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "tools/vtctl/debuglog/follow.h"
#include "tools/vtctl/debuglog/trace_file.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/interrupt.h"
#include "tools/vtctl/shared/paths.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/debug_log.h"
#include "vtclass/product.h"
#include "vtclass/settings_monitor.h"

namespace vtctl {
namespace {

using namespace debuglog;
using Json = nlohmann::ordered_json;

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
    "      size, encoding, rotated files, the limits in force";

constexpr DWORD kPollMilliseconds = 100;

struct DebugLogArguments {
  std::string file;
  std::string text = "The quick brown fox jumps over the lazy dog";
  unsigned long product = 0;
  unsigned lines = 10;
  unsigned interval = 100;
  unsigned threads = 1;
  unsigned seconds = 0;
  bool ansi = false;
  bool json = false;
};

/* The system's form of the file's path; empty when it has none. */
std::wstring PathOf(const DebugLogArguments& arguments) {
  return SystemPath(FromUtf8(arguments.file));
}

int CannotOpen(const DebugLogArguments& arguments, DWORD status) {
  return Fail(kExitNoInput,
              L"\"" + FromUtf8(arguments.file) + L"\" cannot be opened: " + SystemText(status));
}

/* A moment at which to end; never, when the operator has set none. */
class Deadline {
 public:
  explicit Deadline(unsigned seconds)
      : end(seconds == 0 ? 0 : ::GetTickCount64() + seconds * 1000ULL) {}

  bool IsOver() const { return end != 0 && ::GetTickCount64() >= end; }

 private:
  ULONGLONG end;
};

std::wstring Megabytes(unsigned long long bytes) { return std::to_wstring(bytes >> 20) + L" MB"; }

/* What the log goes by, a sentence a line. */
std::wstring LimitText(const DebugLogSettings& settings) {
  const std::wstring refused =
      settings.refused ? L" (the stored count or extension cannot be used)" : L"";
  switch (settings.mode) {
    case DebugLogSettings::renames:
      return Megabytes(settings.maximumSize) + L" in " + std::to_wstring(settings.count) +
             L" rotated files (" + settings.extension + L"1, oldest, to " + settings.extension +
             std::to_wstring(settings.count) + L"); the file rolls at " +
             std::to_wstring(settings.maximumSize / settings.count) + L" bytes";
    case DebugLogSettings::wraps:
      return L"one file that wraps at " + Megabytes(settings.maximumSize) + L" and keeps " +
             Megabytes(settings.retentionSize);
    default:
      return L"none; a further file every 20 MB" + refused;
  }
}

/* Lines of one thread, until they are all written or the command is to end. */
struct Writing {
  DebugLog& log;
  const DebugLogArguments& arguments;
  const std::wstring text;
  const Deadline deadline;
  std::atomic<unsigned> written = 0;
  std::atomic<unsigned> refused = 0;

  void Run(unsigned thread) {
    for (unsigned n = 1; arguments.lines == 0 || n <= arguments.lines; ++n) {
      const int result = log.print(L"%s  thread %u  line %u  level %lu  %s\n", ClockTime().c_str(),
                                   thread, n, log.GetLogLevel(), text.c_str());
      ++(result ? written : refused);
      if (arguments.interval != 0) ::WaitForSingleObject(InterruptEvent(), arguments.interval);
      if (Interrupted() || deadline.IsOver()) return;
    }
  }
};

void PrintWritten(const DebugLog& log, const Writing& writing) {
  const std::wstring where =
      writing.written == 0 ? L"" : L", the last ones to " + ShownPath(log.GetFileName());
  Print(L"Written: " + std::to_wstring(writing.written) + L" lines" + where + L"\n");
  const unsigned long long lost = log.GetLostLines();
  if (writing.refused > lost) {
    Print(L"Not written while the log was off: " + std::to_wstring(writing.refused - lost) + L"\n");
  }
  if (lost != 0) {
    Print(L"Lost: " + std::to_wstring(lost) + L", " + SystemText(log.GetErrorCode()) + L"\n");
  }
}

int Write(const DebugLogArguments& arguments) {
  StringResourceMgr messages;
  LogFileFactory factory(messages, arguments.ansi ? 0 : 1);
  /* The path is not stored: that value belongs to a component. */
  const std::unique_ptr<DebugLog> log(factory.CreateDebugLog(nullptr, PathOf(arguments).c_str()));
  const DebugLogSettings settings = log->GetSettings();
  if (settings.createDebugLog != 0 && log->GetErrorCode() != 0) {
    return Fail(kExitCannotWrite, L"\"" + FromUtf8(arguments.file) + L"\" cannot be written: " +
                                      SystemText(log->GetErrorCode()));
  }
  Print(L"Limits: " + LimitText(settings) + L"\n");
  if (settings.createDebugLog == 0) {
    PrintError(
        L"vtctl: The log is off, so nothing is written until it is switched on: "
        L"vtctl settings set CreateDebugLog 1\n");
  }
  Writing writing{*log, arguments, FromUtf8(arguments.text), Deadline(arguments.seconds)};
  std::vector<std::thread> others;
  for (unsigned n = 2; n <= arguments.threads; ++n) others.emplace_back([&, n] { writing.Run(n); });
  writing.Run(1);
  for (std::thread& other : others) other.join();
  PrintWritten(*log, writing);
  if (Interrupted()) return kExitCancelled;
  return writing.refused == 0 ? kExitClean : kExitWarnings;
}

int Follow(const DebugLogArguments& arguments) {
  Follower follower(
      PathOf(arguments), [](const std::wstring& text) { Print(text); },
      [](const std::wstring& sentence) { PrintError(L"vtctl: " + sentence + L"\n"); });
  const Deadline deadline(arguments.seconds);
  if (const DWORD status = follower.Start(arguments.lines)) return CannotOpen(arguments, status);
  while (::WaitForSingleObject(InterruptEvent(), kPollMilliseconds) == WAIT_TIMEOUT) {
    follower.Poll();
    if (deadline.IsOver()) return kExitClean;
  }
  follower.Poll();
  return kExitCancelled;
}

const char* ModeName(const DebugLogSettings& settings) {
  if (settings.mode == DebugLogSettings::renames) return "rename";
  return settings.mode == DebugLogSettings::wraps ? "wrap" : "simple-roll";
}

Json InfoAsJson(const std::wstring& path, const TraceFile& file,
                const std::vector<RotatedFile>& rotated, const DebugLogSettings& settings) {
  Json json = {{"file", ToUtf8(ShownPath(path))},
               {"size", file.Size()},
               {"encoding", file.TextEncoding() == Encoding::utf16 ? "UTF-16" : "ANSI"},
               {"rotated", Json::array()},
               {"createDebugLog", settings.createDebugLog},
               {"limit", ModeName(settings)},
               {"refused", settings.refused},
               {"maximumSize", settings.maximumSize},
               {"retentionSize", settings.retentionSize},
               {"count", settings.count},
               {"extension", ToUtf8(settings.extension)}};
  for (const RotatedFile& one : rotated) {
    json["rotated"].push_back({{"file", ToUtf8(ShownPath(one.path))}, {"size", one.size}});
  }
  return json;
}

void PrintInfo(const std::wstring& path, const TraceFile& file,
               const std::vector<RotatedFile>& rotated, const DebugLogSettings& settings) {
  const bool wide = file.TextEncoding() == Encoding::utf16;
  std::wstring text = L"File:      " + ShownPath(path) + L"\nSize:      " +
                      std::to_wstring(file.Size()) + L" bytes\nEncoding:  " +
                      (wide ? L"UTF-16" : L"ANSI") + L"\nRotated:   " +
                      (rotated.empty() ? L"none" : std::to_wstring(rotated.size())) +
                      (rotated.size() > 1 ? L", oldest first\n" : L"\n");
  for (const RotatedFile& one : rotated) {
    text += L"  " + ShownPath(one.path) + L"  " + std::to_wstring(one.size) + L" bytes\n";
  }
  text += L"Switch:    CreateDebugLog is " + std::to_wstring(settings.createDebugLog) +
          (settings.createDebugLog != 0 ? L", on\n" : L", off\n");
  Print(text + L"Limits:    " + LimitText(settings) + L"\n");
}

int Info(const DebugLogArguments& arguments) {
  const std::wstring path = PathOf(arguments);
  TraceFile file;
  const DWORD status = path.empty() ? ::GetLastError() : file.Open(path);
  if (status != ERROR_SUCCESS) return CannotOpen(arguments, status);
  const std::vector<RotatedFile> rotated = RotatedFilesOf(path);
  /* The limits as a component reads them, by a log that opens no file. */
  StringResourceMgr messages;
  const DebugLogSettings settings = DebugLog(messages, 1, nullptr).GetSettings();
  if (arguments.json) {
    PrintUtf8(InfoAsJson(path, file, rotated, settings).dump(2) + "\n");
  } else {
    PrintInfo(path, file, rotated, settings);
  }
  return kExitClean;
}

using Operation = int (*)(const DebugLogArguments&);

CLI::App* AddOperation(CLI::App& group, ChosenCommand& chosen, const char* name,
                       const char* description, const std::shared_ptr<DebugLogArguments>& arguments,
                       Operation operation) {
  CLI::App* command = group.add_subcommand(name, description);
  command->add_option("FILE", arguments->file, "The debug log")->required()->option_text("FILE");
  command->add_option("--product", arguments->product, "1 for the sibling product's registry root")
      ->option_text("N");
  command->footer(kExamples);
  command->callback([&chosen, arguments, operation] {
    chosen.run = [arguments, operation] {
      CMS_SetProd(arguments->product);
      const int result = operation(*arguments);
      SettingsMonitor::DestroyInstance();
      return result;
    };
  });
  return command;
}

void AddSeconds(CLI::App* command, const std::shared_ptr<DebugLogArguments>& arguments) {
  command->add_option("--for", arguments->seconds, "End after so many seconds")
      ->check(CLI::Range(1U, 1000000U))
      ->option_text("SECONDS");
}

void AddWriteOptions(CLI::App* write, const std::shared_ptr<DebugLogArguments>& arguments) {
  write->add_option("--lines", arguments->lines, "Lines of each thread, 0 for no end (10)")
      ->option_text("N");
  write->add_option("--interval", arguments->interval, "Milliseconds between two of them (100)")
      ->check(CLI::Range(0U, 3600000U))
      ->option_text("MS");
  write->add_option("--threads", arguments->threads, "Threads that share the log, 1 to 64 (1)")
      ->check(CLI::Range(1U, 64U))
      ->option_text("N");
  write->add_option("--text", arguments->text, "What each line ends with")->option_text("TEXT");
  write->add_flag("--ansi", arguments->ansi, "Write in the ANSI code page, not in UTF-16");
}

}  // namespace

void AddDebugLogCommand(CLI::App& app, ChosenCommand& chosen) {
  CLI::App* group =
      app.add_subcommand("debuglog", "Follow, examine and try out the debug logs of components");
  group->require_subcommand(1);
  group->footer(kExamples);
  const auto arguments = std::make_shared<DebugLogArguments>();

  CLI::App* write = AddOperation(*group, chosen, "write",
                                 "Write lines as a component does, following the settings live",
                                 arguments, Write);
  AddWriteOptions(write, arguments);
  AddSeconds(write, arguments);
  CLI::App* follow =
      AddOperation(*group, chosen, "follow", "Print the last lines and what comes; Ctrl+C ends it",
                   arguments, Follow);
  follow->add_option("--lines", arguments->lines, "How many lines to begin with (10)")
      ->option_text("N");
  AddSeconds(follow, arguments);
  CLI::App* info =
      AddOperation(*group, chosen, "info",
                   "Print size, encoding, rotated files and the limits in force", arguments, Info);
  info->add_flag("--json", arguments->json, "One JSON object");
}

}  // namespace vtctl
