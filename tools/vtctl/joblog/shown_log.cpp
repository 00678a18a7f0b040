#include "tools/vtctl/joblog/shown_log.h"

#include "joblog/summary_text.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/exit_code.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/system_text.h"
#include "tools/vtctl/shared/terminal_text.h"

namespace vtctl {
namespace {

using namespace vtclass::joblog;

constexpr std::size_t kFlushBytes = std::size_t{64} * 1024;

}  // namespace

int ExitCodeOf(Severity worst) {
  if (worst == Severity::kError) return kExitErrors;
  return worst == Severity::kWarning ? kExitWarnings : kExitClean;
}

void Output::Add(std::string_view lines) {
  buffer += lines;
  if (buffer.size() >= kFlushBytes) Flush();
}

void Output::Flush() {
  if (!buffer.empty()) PrintUtf8(buffer);
  buffer.clear();
}

std::string NameOf(const Path& file) {
  if (file.Written() == kStandardInput) return "standard input";
  const std::wstring& path = file.Written();
  return ToUtf8(path.substr(path.find_last_of(L"\\/:") + 1));  // npos + 1 is 0
}

bool WantsColour(Colours colours) {
  // Asked in any case: the question switches the terminal's colours on.
  const bool isTerminal = ColoursWanted();
  return colours == Colours::automatic ? isTerminal : colours == Colours::always;
}

int OpenFailure(const Path& file, DWORD status) {
  return FailWith(kExitNoInput, status, Quoted(file) + L" cannot be opened: " + SystemText(status));
}

int ReadFailure(const Path& file, const LogInput& input, const std::optional<Refusal>& refusal) {
  if (const DWORD status = input.Error()) {
    return FailWith(kExitNoInput, status, Quoted(file) + L" cannot be read: " + SystemText(status));
  }
  if (!refusal) return kExitClean;
  return Fail(kExitBadInput, Quoted(file) + L" is no job log: " + FromUtf8(refusal->reason) +
                                 L", at " + FromUtf8(PositionText(refusal->at)) + L".");
}

ShownLog::ShownLog(const ShowArguments& arguments, const Path& file, Output& output)
    : arguments(arguments),
      output(output),
      text([&output](std::string_view lines) { output.Add(lines); },
           WantsColour(arguments.colours)) {
  place.file = NameOf(file);
  summary.BeginFile(place.file);
}

void ShownLog::Handle(const Event& event) {
  summary.Handle(event);
  if (arguments.summary) return;
  if (!arguments.json && !arguments.csv) {
    // Who asks for a page reads the log there.
    if (arguments.html.Written().empty()) text.Handle(event);
    return;
  }
  trail.Handle(event);
  place.path = trail.Path();
  if (arguments.json) {
    output.Add(Escaped(JsonLine(event, place)));
  } else if (event.kind == EventKind::kEntry) {
    output.Add(CsvLine(event, place));
  }
}

// A table has no place for what is no entry.
void ShownLog::NoteOnErrors(const Tally& tally) const {
  const auto note = [&](const std::string& sentence) {
    Remark(FromUtf8(place.file + ": " + sentence + "."));
  };
  if (tally.leftOut > 0) note(GroupedNumber(tally.leftOut) + " entries left out by a filter");
  if (tally.damages > 0) note(Counted(tally.damages, "place") + " of the log damaged");
  if (tally.documents > 0 && !tally.lastIsClosed) note("The log is cut off");
}

int ShownLog::Close(const EntryFilter& filter, std::optional<bool> isOpen) {
  summary.LeftOut(filter.EntriesLeftOut(), filter.JobsLeftOut());
  const Tally& tally = summary.Total();
  if (arguments.json) {
    output.Add(Escaped(JsonSummary(summary, isOpen)));
  } else if (arguments.csv) {
    NoteOnErrors(tally);
  } else if (arguments.summary) {
    const std::string shown = SummaryText(summary, isOpen, WantsColour(arguments.colours));
    output.Add(ToUtf8(ForTerminal(FromUtf8(shown))));
  } else {
    text.Close(tally, isOpen);
  }
  return ExitCodeOf(tally.Verdict());
}

}  // namespace vtctl
