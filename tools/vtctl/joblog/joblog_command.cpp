#include <vtclass/win32.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

#include "joblog/code_filter.h"
#include "joblog/html_view.h"
#include "joblog/joblog_reader.h"
#include "joblog/json_view.h"
#include "joblog/tally.h"
#include "joblog/text_view.h"
#include "tools/vtctl/joblog/joblog_files.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/interrupt.h"
#include "tools/vtctl/shared/paths.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

using namespace vtclass::joblog;

constexpr const char* kExamples =
    "Reads any job log of the product: in UTF-16 or ANSI, with several logs appended to one file,\n"
    "wrapped at its size limit, still being written, or cut off by a crash.\n"
    "\n"
    "Examples:\n"
    "  vtctl joblog show C:\\Logs\\job.xml\n"
    "      the log as people read it, closing with a summary\n"
    "  vtctl joblog show C:\\Logs\\job.xml --code Q-79-57344-33928\n"
    "      only the messages with this identifier\n"
    "  vtctl joblog show C:\\Logs\\job.xml --html C:\\Logs\\job.html\n"
    "      the log as one page for a browser\n"
    "  vtctl joblog show C:\\Logs\\job.xml --json\n"
    "      one JSON object a line, the last one of the kind \"summary\"\n"
    "\n"
    "Exit codes: 0 nothing worse than information, 1 warnings, 2 errors or a log without its end,\n"
    "65 no job log, 66 the file cannot be read, 73 the page cannot be written. They tell what is\n"
    "shown: --code leaves the other messages out.";

struct ShowArguments {
  std::string file;
  std::string html;
  std::string colour = "auto";
  std::vector<std::string> codes;
  bool json = false;
  bool noColour = false;
};

/* Gathers lines, so that a long log is not a system call a line. */
class Output {
 public:
  ~Output() { Flush(); }
  void Add(std::string_view lines) {
    buffer += lines;
    if (buffer.size() >= kFlushBytes) Flush();
  }
  void Flush() {
    if (!buffer.empty()) PrintUtf8(buffer);
    buffer.clear();
  }

 private:
  static constexpr std::size_t kFlushBytes = std::size_t{64} * 1024;
  std::string buffer;
};

std::wstring Quoted(const std::string& path) { return L"\"" + FromUtf8(path) + L"\""; }

bool WantsColour(const ShowArguments& arguments) {
  if (arguments.noColour || arguments.colour == "never") return false;
  /* Asked in any case: the question switches the terminal's colours on. */
  return OutputIsTerminal() || arguments.colour == "always";
}

int ExitCodeOf(Severity verdict) {
  if (verdict == Severity::kError) return kExitErrors;
  return verdict == Severity::kWarning ? kExitWarnings : kExitClean;
}

std::string FileNameOf(const std::string& path) {
  return path.substr(path.find_last_of("\\/:") + 1); /* npos + 1 is 0 */
}

/* One run of the command. */
class Show {
 public:
  explicit Show(const ShowArguments& given)
      : arguments(given),
        text([this](std::string_view lines) { output.Add(lines); }, WantsColour(given)),
        page(FileNameOf(given.file)) {}

  int Run();

 private:
  int Open();
  int Read();
  void Handle(const Event& event);
  int Close();
  int WritePage();

  const ShowArguments& arguments;
  LogInput input;
  std::wstring pagePath;
  Output output;
  TextView text;
  HtmlView page;
  Tally tally;
};

int Show::Open() {
  const std::wstring path = SystemPath(FromUtf8(arguments.file));
  const DWORD status = path.empty() ? ::GetLastError() : input.Open(path);
  if (status != ERROR_SUCCESS) {
    return Fail(kExitNoInput, Quoted(arguments.file) + L" cannot be opened: " + SystemText(status));
  }
  if (arguments.html.empty()) return kExitClean;
  pagePath = SystemPath(FromUtf8(arguments.html));
  if (pagePath.empty()) {
    return Fail(kExitCannotWrite,
                Quoted(arguments.html) + L" cannot be written: " + SystemText(::GetLastError()));
  }
  if (input.IsSameFile(pagePath)) {
    return Fail(kExitUsage, L"--html would overwrite the job log itself.");
  }
  return kExitClean;
}

void Show::Handle(const Event& event) {
  tally.Add(event);
  if (!arguments.html.empty()) page.Handle(event);
  if (arguments.json) {
    output.Add(JsonLine(event));
  } else if (arguments.html.empty()) {
    text.Handle(event);
  }
}

int Show::Read() {
  CodeFilter filter(arguments.codes, [this](const Event& event) { Handle(event); });
  JobLogReader reader([this](char* to, std::size_t room) { return input.Read(to, room); });
  Event event;
  while (reader.Next(event)) {
    if (Interrupted()) return kExitCancelled;
    filter.Handle(event);
  }
  if (input.Error() != ERROR_SUCCESS) {
    output.Flush();
    return Fail(kExitNoInput,
                Quoted(arguments.file) + L" cannot be read: " + SystemText(input.Error()));
  }
  if (const auto& refusal = reader.Refused()) {
    return Fail(kExitBadInput, Quoted(arguments.file) + L" is no job log: " +
                                   FromUtf8(refusal->reason) + L", at " +
                                   FromUtf8(PositionText(refusal->at)) + L".");
  }
  return kExitClean;
}

int Show::WritePage() {
  const DWORD status = WriteWholeFile(pagePath, page.Page(tally, input.IsOpenElsewhere()));
  if (status != ERROR_SUCCESS) {
    return Fail(kExitCannotWrite,
                Quoted(arguments.html) + L" cannot be written: " + SystemText(status));
  }
  if (!arguments.json) output.Add("\nPage: " + ToUtf8(ShownPath(pagePath)) + "\n");
  return kExitClean;
}

int Show::Close() {
  if (arguments.json) {
    output.Add(JsonSummary(tally, input.IsOpenElsewhere()));
  } else {
    text.Close(tally, input.IsOpenElsewhere());
  }
  if (!arguments.html.empty()) {
    if (const int failed = WritePage()) return failed;
  }
  return ExitCodeOf(tally.Verdict());
}

int Show::Run() {
  if (const int failed = Open()) return failed;
  if (const int failed = Read()) return failed;
  return Close();
}

int RunShow(ShowArguments arguments) {
  for (std::string& code : arguments.codes) {
    const std::string normal = NormalCode(code);
    if (normal.empty()) {
      return Fail(kExitUsage,
                  Quoted(code) + L" is no message identifier such as Q-79-57344-33928.");
    }
    code = normal;
  }
  return Show(arguments).Run();
}

}  // namespace

void AddJobLogCommand(CLI::App& app, ChosenCommand& chosen) {
  CLI::App* group = app.add_subcommand("joblog", "Read the job logs that the product writes");
  group->require_subcommand(1);
  const auto arguments = std::make_shared<ShowArguments>();
  CLI::App* show = group->add_subcommand("show", "Show a job log as people read it");
  show->add_option("FILE", arguments->file, "The job log")->required()->option_text("FILE");
  show->add_option("--code", arguments->codes,
                   "Show only messages with this identifier; repeatable")
      ->allow_extra_args(false) /* or it would swallow a FILE that follows */
      ->option_text("Q-79-N-N");
  show->add_option("--html", arguments->html, "Write one self-contained page for a browser")
      ->option_text("OUT");
  show->add_flag("--json", arguments->json, "Print one JSON object a line");
  show->add_option("--color", arguments->colour, "Colours: auto, always, never (auto)")
      ->transform(CLI::IsMember({"auto", "always", "never"}))
      ->option_text("WHEN");
  show->add_flag("--no-color", arguments->noColour, "Print without colours");
  show->footer(kExamples);
  show->callback(
      [&chosen, arguments] { chosen.run = [arguments] { return RunShow(*arguments); }; });
}

}  // namespace vtctl
