#include <vtclass/win32.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "joblog/code_filter.h"
#include "joblog/html_view.h"
#include "joblog/joblog_reader.h"
#include "joblog/json_view.h"
#include "joblog/tally.h"
#include "joblog/text_view.h"
#include "tools/vtctl/joblog/joblog_files.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
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

enum class Colours { automatic, always, never };

struct ShowArguments : CommonArguments {
  Path file;
  Path html;
  std::vector<std::wstring> codes;
  Colours colours = Colours::automatic;
};

// Gathers lines, so that a long log is not a system call a line.
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

std::wstring Quoted(const Path& path) { return L"\"" + path.Written() + L"\""; }

bool WantsColour(Colours colours) {
  // Asked in any case: the question switches the terminal's colours on.
  const bool isTerminal = ColoursWanted();
  return colours == Colours::automatic ? isTerminal : colours == Colours::always;
}

int ExitCodeOf(Severity verdict) {
  if (verdict == Severity::kError) return kExitErrors;
  return verdict == Severity::kWarning ? kExitWarnings : kExitClean;
}

// As the operator wrote it, for the page's title.
std::string NameOf(const Path& file) {
  const std::wstring& path = file.Written();
  return ToUtf8(path.substr(path.find_last_of(L"\\/:") + 1));  // npos + 1 is 0
}

// One run of the command.
class Show {
 public:
  Show(const ShowArguments& given, std::vector<std::string> codes)
      : arguments(given),
        codes(std::move(codes)),
        text([this](std::string_view lines) { output.Add(lines); }, WantsColour(given.colours)),
        page(NameOf(given.file)) {}

  int Run();

 private:
  int Open();
  int Read();
  void Handle(const Event& event);
  int Close();
  int WritePage();
  int PageFailure(DWORD status) const;

  bool WantsPage() const { return !arguments.html.Written().empty(); }

  const ShowArguments& arguments;
  const std::vector<std::string> codes;
  LogInput input;
  Output output;
  TextView text;
  HtmlView page;
  Tally tally;
};

int Show::Open() {
  if (const DWORD status = input.Open(arguments.file)) {
    return Fail(kExitNoInput, Quoted(arguments.file) + L" cannot be opened: " + SystemText(status));
  }
  if (!WantsPage()) return kExitClean;
  if (arguments.html.Error() != ERROR_SUCCESS) return PageFailure(arguments.html.Error());
  if (input.IsSameFile(arguments.html)) {
    return Fail(kExitUsage, L"--html would overwrite the job log itself.");
  }
  return kExitClean;
}

int Show::PageFailure(DWORD status) const {
  return Fail(kExitCannotWrite,
              Quoted(arguments.html) + L" cannot be written: " + SystemText(status));
}

void Show::Handle(const Event& event) {
  tally.Add(event);
  if (WantsPage()) page.Handle(event);
  if (arguments.json) {
    output.Add(JsonLine(event));
  } else if (!WantsPage()) {
    text.Handle(event);
  }
}

int Show::Read() {
  CodeFilter filter(codes, [this](const Event& event) { Handle(event); });
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
  const DWORD status = WriteWholeFile(arguments.html, page.Page(tally, input.IsOpenElsewhere()));
  if (status != ERROR_SUCCESS) return PageFailure(status);
  if (!arguments.json) output.Add("\nPage: " + ToUtf8(arguments.html.Shown()) + "\n");
  return kExitClean;
}

int Show::Close() {
  if (arguments.json) {
    output.Add(JsonSummary(tally, input.IsOpenElsewhere()));
  } else {
    text.Close(tally, input.IsOpenElsewhere());
  }
  if (WantsPage()) {
    if (const int failed = WritePage()) return failed;
  }
  return ExitCodeOf(tally.Verdict());
}

int Show::Run() {
  if (const int failed = Open()) return failed;
  if (const int failed = Read()) return failed;
  return Close();
}

int RunShow(const ShowArguments& arguments) {
  std::vector<std::string> codes;
  for (const std::wstring& code : arguments.codes) {
    codes.push_back(NormalCode(ToUtf8(code)));
    if (!codes.back().empty()) continue;
    return Fail(kExitUsage,
                L"\"" + code + L"\" is no message identifier such as Q-79-57344-33928.");
  }
  return Show(arguments, std::move(codes)).Run();
}

}  // namespace

void AddJobLogCommand(Command& program) {
  Command group = program.AddGroup("joblog", "Read the job logs that the product writes");
  auto show = group.Add("show", "Show a job log as people read it", kExamples, RunShow);
  show.File("FILE FILE", show->file, "The job log").Required();
  show.Texts("--code Q-79-N-N", show->codes, "Show only messages with this identifier; repeatable");
  show.File("--html OUT", show->html, "Write one self-contained page for a browser");
  show.Json("Print one JSON object a line");
  show.Choice<Colours>(
      "--color WHEN", show->colours,
      {{"auto", Colours::automatic}, {"always", Colours::always}, {"never", Colours::never}},
      "Colours: auto, always, never (auto)");
}

}  // namespace vtctl
