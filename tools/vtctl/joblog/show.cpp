#include "tools/vtctl/joblog/show.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "joblog/comparison.h"
#include "joblog/html_view.h"
#include "joblog/joblog_reader.h"
#include "tools/vtctl/joblog/shown_log.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/interrupt.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

using namespace vtclass::joblog;

bool WantsPage(const ShowArguments& arguments) { return !arguments.html.Written().empty(); }

// Reads a log through a filter. Its documents are numbered behind those read before. What the
// filter lets through stands in `output`, and is printed before a failure is.
int ReadThrough(const Path& file, LogInput& input, std::uint64_t& documents, EntryFilter& filter,
                Output& output) {
  JobLogReader reader([&](char* to, std::size_t room) { return input.Read(to, room); });
  const std::uint64_t before = documents;
  for (Event event; reader.Next(event);) {
    if (Interrupted() || OutputIsLost()) return kExitCancelled;
    event.document += before;
    documents = event.document;
    filter.Handle(event);
  }
  if (input.Error() != ERROR_SUCCESS || reader.Refused()) output.Flush();
  return ReadFailure(file, input, reader.Refused());
}

// One run over all files.
class Run {
 public:
  explicit Run(const ShowRequest& wanted)
      : request(wanted),
        arguments(wanted.arguments),
        page(wanted.logs.size() == 1 ? NameOf(wanted.logs.front())
                                     : std::to_string(wanted.logs.size()) + " job logs") {}

  int ShowAll();

 private:
  int ShowOne(const Path& file);
  int WritePage();
  int PageFailure(DWORD status) const;

  const ShowRequest& request;
  const ShowArguments& arguments;
  Output output;
  HtmlView page;
  std::uint64_t documents = 0;
  std::uint64_t entriesLeftOut = 0;
  std::uint64_t jobsLeftOut = 0;
  std::optional<bool> isOpen; /* the last file */
  bool hasShown = false;
};

int Run::PageFailure(DWORD status) const {
  return FailWith(kExitCannotWrite, status,
                  Quoted(arguments.html) + L" cannot be written: " + SystemText(status));
}

int Run::ShowOne(const Path& file) {
  LogInput input;
  if (const DWORD status = input.Open(file)) {
    output.Flush();
    return OpenFailure(file, status);
  }
  if (WantsPage(arguments) && input.IsSameFile(arguments.html)) {
    return Fail(kExitUsage, L"--html would overwrite the job log itself.");
  }
  if (request.logs.size() > 1 && !arguments.json && !arguments.csv) {
    const std::string name = file.Written() == kStandardInput ? NameOf(file) : ToUtf8(file.Shown());
    output.Add((hasShown ? "\n" : "") + std::string("File: ") + name + "\n");
  }
  ShownLog shown(arguments, file, output);
  if (WantsPage(arguments)) page.BeginFile(NameOf(file));
  EntryFilter filter(request.wanted, [&](const Event& event) {
    if (WantsPage(arguments)) page.Handle(event);
    shown.Handle(event);
  });
  const int failed = ReadThrough(file, input, documents, filter, output);
  if (failed != kExitClean) return failed;
  hasShown = true;
  isOpen = input.IsOpenElsewhere();
  entriesLeftOut += filter.EntriesLeftOut();
  jobsLeftOut += filter.JobsLeftOut();
  page.LeftOut(entriesLeftOut, jobsLeftOut);
  return shown.Close(filter, isOpen);
}

int Run::WritePage() {
  if (const DWORD status = WriteWholeFile(arguments.html, page.Page(isOpen))) {
    return PageFailure(status);
  }
  if (!arguments.json && !arguments.csv) {
    output.Add("\nPage: " + ToUtf8(arguments.html.Shown()) + "\n");
  }
  return kExitClean;
}

// A log that cannot be read does not keep the others back; its exit code is greater than theirs.
int Run::ShowAll() {
  if (WantsPage(arguments) && arguments.html.Error() != ERROR_SUCCESS) {
    return PageFailure(arguments.html.Error());
  }
  if (arguments.csv) output.Add(CsvHeader());
  int worst = kExitClean;
  for (const Path& file : request.logs) {
    const int code = ShowOne(file);
    worst = std::max(worst, code);
    if (worst == kExitCancelled || worst == kExitUsage) return worst;
    if (code > kExitErrors) page.NotRead(NameOf(file));
  }
  if (!WantsPage(arguments) || !hasShown) return worst;
  const int failed = WritePage();
  return failed != kExitClean ? failed : worst;
}

// The findings of one of two logs.
struct Side {
  Findings findings;
  Tally tally;
};

int ReadSide(const ShowRequest& request, const Path& file, Side& side) {
  LogInput input;
  if (const DWORD status = input.Open(file)) return OpenFailure(file, status);
  EntryFilter filter(request.wanted, [&](const Event& event) {
    side.findings.Handle(event);
    side.tally.Add(event);
  });
  std::uint64_t documents = 0;
  Output nothing;
  return ReadThrough(file, input, documents, filter, nothing);
}

}  // namespace

int ShowLogs(const ShowRequest& request) { return Run(request).ShowAll(); }

int ShowDifference(const ShowRequest& request) {
  const ShowArguments& arguments = request.arguments;
  Side before, now;
  if (const int failed = ReadSide(request, request.logs[0], before)) return failed;
  if (const int failed = ReadSide(request, request.logs[1], now)) return failed;
  const Comparison comparison = Compare(before.findings.All(), now.findings.All());
  const bool isUnfinished = now.tally.documents > 0 && !now.tally.lastIsClosed;
  if (arguments.json) {
    PrintUtf8(Escaped(JsonComparison(comparison, before.tally, now.tally)));
  } else {
    PrintUtf8(ComparisonText(comparison, before.tally, now.tally, WantsColour(arguments.colours)));
  }
  return isUnfinished ? kExitErrors : ExitCodeOf(comparison.Worst());
}

}  // namespace vtctl
