#include <vtclass/win32.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "joblog/log_time.h"
#include "tools/vtctl/joblog/joblog_files.h"
#include "tools/vtctl/joblog/log_choice.h"
#include "tools/vtctl/joblog/show.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"

namespace vtctl {
namespace {

using namespace vtclass::joblog;

constexpr const char* kExamples =
    "Reads any job log of the product: in UTF-16 or ANSI, with several logs appended to one file,\n"
    "wrapped at its size limit, still being written, or cut off by a crash.\n"
    "\n"
    "FILE may hold * and ? in its name; - is standard input; with --latest it may be a folder.\n"
    "A TIME is 2025-01-31, 2025-01-31T22:00 or 2025-01-31T22:00:59, by the clock of the machine\n"
    "that ran the job. Entries have no times of their own, so --since and --until choose whole\n"
    "jobs, by when they began; a log that does not tell it is shown. What --severity, --code,\n"
    "--under, --since and --until leave out is counted in the summary.\n"
    "\n"
    "Examples:\n"
    "  vtctl joblog show --latest C:\\Logs --summary\n"
    "      did the newest job do its work, and if not, why not\n"
    "  vtctl joblog show C:\\Logs\\job.xml\n"
    "      the log as people read it, closing with a summary\n"
    "  vtctl joblog show C:\\Logs\\job.xml --severity warning --under D:\\Data\n"
    "      what went wrong below one folder\n"
    "  vtctl joblog show C:\\Logs\\job.xml --code Q-79-57344-33928\n"
    "      only the messages with this identifier\n"
    "  vtctl joblog show C:\\Logs\\*.xml --summary --since 2025-01-31\n"
    "      the jobs since that day, one after the other\n"
    "  vtctl joblog show C:\\Logs\\job.xml --follow\n"
    "      the log of a running job, until it ends\n"
    "  vtctl joblog show --diff C:\\Logs\\monday.xml C:\\Logs\\tuesday.xml\n"
    "      what fails now and did not before, and the reverse\n"
    "  vtctl joblog show C:\\Logs\\job.xml --html C:\\Logs\\job.html\n"
    "      the log as one page for a browser\n"
    "  vtctl joblog show C:\\Logs\\job.xml --json\n"
    "      one JSON object a line, the last one of the kind \"summary\"\n"
    "  vtctl joblog show C:\\Logs\\job.xml --csv > entries.csv\n"
    "      the entries as a table\n"
    "\n"
    "Exit codes: 0 nothing worse than information, 1 warnings, 2 errors or a log without its end,\n"
    "64 wrong usage, 65 no job log, 66 the file cannot be read, 73 the page cannot be written, "
    "130\n"
    "interrupted. They tell what is shown: filters leave other messages out, and --diff goes by\n"
    "what is new.";

std::string Folded(std::string_view path) {
  const std::wstring wide = FromUtf8(path);
  if (wide.empty()) return {};
  // A folded text is as long as the text.
  std::wstring folded(wide.size(), L'\0');
  const int units =
      ::LCMapStringW(LOCALE_INVARIANT, LCMAP_UPPERCASE, wide.data(), static_cast<int>(wide.size()),
                     folded.data(), static_cast<int>(folded.size()));
  return units > 0 ? ToUtf8(folded) : std::string(path);
}

// Reads the filters. An exit code when one of them is none.
int ReadWanted(const ShowArguments& arguments, Wanted& wanted) {
  const auto refuse = [&](const std::wstring& word, const wchar_t* what) {
    return Fail(kExitUsage, L"\"" + word + L"\" is no " + what);
  };
  wanted.least = arguments.least;
  for (const std::wstring& code : arguments.codes) {
    wanted.codes.push_back(NormalCode(ToUtf8(code)));
    if (wanted.codes.back().empty()) {
      return refuse(code, L"message identifier such as Q-79-57344-33928.");
    }
  }
  const std::pair<const std::optional<std::wstring>*, std::optional<LogTime>*> times[] = {
      {&arguments.since, &wanted.since}, {&arguments.until, &wanted.until}};
  for (const auto& [word, time] : times) {
    if (!word->has_value()) continue;
    *time = ParseTime(ToUtf8(**word), time == &wanted.until);
    if (!*time) return refuse(**word, L"time such as 2025-01-31 or 2025-01-31T22:00.");
  }
  if (!arguments.folder) return kExitClean;
  if (arguments.folder->find_first_not_of(L"\\/") == std::wstring::npos) {
    return refuse(*arguments.folder, L"folder.");
  }
  wanted.folder = ToUtf8(*arguments.folder);
  wanted.fold = Folded;
  return kExitClean;
}

// What cannot be asked together; null when all can.
const wchar_t* Contradiction(const ShowArguments& arguments) {
  const bool hasPage = !arguments.html.Written().empty();
  if (arguments.csv && (arguments.json || arguments.summary)) {
    return L"--csv goes neither with --json nor with --summary.";
  }
  if (arguments.diff && (arguments.csv || arguments.summary || arguments.follow || hasPage)) {
    return L"--diff goes with none of --csv, --summary, --follow and --html.";
  }
  if (arguments.diff && arguments.latest) return L"--diff does not go with --latest.";
  if (arguments.follow && (arguments.summary || hasPage)) {
    return L"--follow goes neither with --summary nor with --html.";
  }
  if (arguments.seconds != 0 && !arguments.follow) return L"--for goes with --follow only.";
  return nullptr;
}

int Show(const ShowArguments& arguments) {
  if (const wchar_t* const sentence = Contradiction(arguments)) {
    return Fail(kExitUsage, sentence);
  }
  Wanted wanted;
  if (const int wrong = ReadWanted(arguments, wanted)) return wrong;
  const LogChoice choice = ChooseLogs(arguments.files, arguments.latest);
  if (choice.exitCode != kExitClean) {
    return FailWith(choice.exitCode, choice.status, choice.problem);
  }
  const ShowRequest request = {arguments, choice.logs, wanted};
  if (arguments.diff) {
    if (choice.logs.size() == 2) return ShowDifference(request);
    return Fail(kExitUsage, L"--diff compares two logs, the older one first.");
  }
  if (!arguments.follow) return ShowLogs(request);
  if (choice.logs.size() == 1 && choice.logs[0].Written() != kStandardInput) {
    return FollowLog(request);
  }
  return Fail(kExitUsage, L"--follow follows one file.");
}

}  // namespace

void AddJobLogCommand(Command& program) {
  Command group = program.AddGroup("joblog", "Read the job logs that the product writes");
  auto show = group.Add("show", "Show job logs as people read them", kExamples, Show);
  show.Texts("FILE ...", show->files, "The job logs").Required();
  show.Flag("--latest", show->latest, "Only the newest of them; a folder stands for its *.xml");
  show.Flag("--summary", show->summary,
            "Only the verdict, totals, reasons and where the time went");
  show.Choice<Severity>("--severity LEVEL", show->least,
                        {{"info", Severity::kInfo},
                         {"recommendation", Severity::kRecommendation},
                         {"warning", Severity::kWarning},
                         {"error", Severity::kError}},
                        "Show only entries as bad or worse: info, recommendation, warning, error");
  show.Texts("--code Q-79-N-N", show->codes, "Show only messages with this identifier; repeatable");
  show.Text("--under FOLDER", show->folder, "Show only what stands in this folder or below it");
  show.Text("--since TIME", show->since, "Show only jobs that began then or later");
  show.Text("--until TIME", show->until, "Show only jobs that began then or earlier");
  show.Flag("--follow", show->follow, "Go on as the job writes, until it ends; Ctrl+C ends it");
  show.Count("--for SECONDS", show->seconds, "With --follow: end after so many seconds", kSeconds);
  show.Flag("--diff", show->diff, "What fails in the second log and not in the first, and back");
  show.File("--html OUT", show->html, "Write one self-contained page for a browser");
  show.Json("Print one JSON object a line");
  show.Flag("--csv", show->csv, "Print the entries as a table, for spreadsheets");
  show.Choice<Colours>(
      "--color WHEN", show->colours,
      {{"auto", Colours::automatic}, {"always", Colours::always}, {"never", Colours::never}},
      "Colours: auto, always, never (auto)");
}

}  // namespace vtctl
