#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "joblog/comparison.h"
#include "joblog/csv_view.h"
#include "joblog/entry_filter.h"
#include "joblog/html_view.h"
#include "joblog/joblog_reader.h"
#include "joblog/json_view.h"
#include "joblog/summary_text.h"
#include "joblog/text_view.h"

// Any bytes are read as a job log, in one piece and in small ones; both must give the same events,
// in order, inside the file, properly nested, with an end for each beginning. All of it goes
// through the filters and views too: what a filter lets through and leaves out is all that there
// was, the page stays one page whose rows are JSON, and no control character comes through.
namespace {

using namespace vtclass::joblog;

void Require(bool holds) {
  if (!holds) std::abort();
}

std::vector<Event> ReadAll(std::string_view bytes, std::size_t piece, bool& refused) {
  JobLogReader reader(
      [bytes, piece, at = std::size_t{0}](char* to, std::size_t room) mutable {
        const std::size_t count = std::min({room, piece, bytes.size() - at});
        std::memcpy(to, bytes.data() + at, count);
        at += count;
        return count;
      },
      kLeastBlockBytes);
  std::vector<Event> events;
  for (Event event; reader.Next(event);) events.push_back(event);
  refused = reader.Refused().has_value();
  return events;
}

bool IsHeading(const Event& event) {
  return event.kind == EventKind::kSet || event.kind == EventKind::kSection ||
         event.kind == EventKind::kFolder;
}

void CheckOrder(const std::vector<Event>& events, std::size_t size) {
  bool open = false;
  std::size_t allowed = 0;  // the greatest depth that what comes next may have
  for (const Event& event : events) {
    Require(event.at.offset <= size && event.at.line > 0 && event.at.column > 0);
    if (event.kind == EventKind::kDocument) {
      Require(!open);
      open = true;
      allowed = 0;
    } else if (event.kind == EventKind::kDocumentEnd) {
      Require(open && event.depth == 0);
      open = false;
    } else if (event.kind != EventKind::kDamage) {
      Require(open && event.depth <= allowed);
      // An error that holds elements is an entry and encloses them.
      const bool encloses = IsHeading(event) || !event.element.empty();
      allowed = std::max(event.depth, event.depth + (encloses ? 1 : 0));
    }
  }
  Require(!open);
}

std::size_t Count(std::string_view text, std::string_view what) {
  std::size_t count = 0;
  for (std::size_t at = text.find(what); at != text.npos; at = text.find(what, at + 1)) ++count;
  return count;
}

void CheckPrintable(std::string_view text) {
  for (const char letter : text) {
    Require(static_cast<unsigned char>(letter) >= 0x20 || letter == '\n' || letter == '\t');
  }
}

// As many fields as there are columns, none of which a spreadsheet computes.
void CheckTableLine(std::string_view line) {
  Require(line.ends_with("\r\n"));
  line.remove_suffix(2);
  CheckPrintable(line);
  std::size_t commas = 0;
  bool isQuoted = false;
  for (const char letter : line) {
    if (letter == '"') isQuoted = !isQuoted;
    if (letter == ',' && !isQuoted) ++commas;
  }
  Require(!isQuoted && commas == Count(CsvHeader(), ","));
}

// Each row is an array of texts of which the first is the row's tag, as the page's script reads it.
void CheckPage(const std::string& page) {
  const std::string_view kData = "<script type=\"application/json\">";
  Require(Count(page, "<script") == 2 && Count(page, "</script>") == 2);
  const std::size_t begin = page.find(kData) + kData.size();
  std::string_view rows(page.data() + begin, page.find("</script>") - begin);
  while (!rows.empty()) {
    const std::size_t end = rows.find('\n');
    const auto row = nlohmann::json::parse(rows.substr(0, end), nullptr, false);
    Require(row.is_array() && !row.empty() && rows.starts_with("[\""));
    for (const auto& text : row) Require(text.is_string());
    const auto tag = row[0].get<std::string>();
    Require(std::string_view("DGFSirwexc").find(tag[0]) != std::string_view::npos);
    Require(tag.size() > 1 && tag[1] >= '0' && tag[1] <= '9');
    rows.remove_prefix(end + 1);
  }
}

void CheckViews(const std::vector<Event>& events) {
  Summary summary;
  Findings findings;
  TextView text(
      [](std::string_view lines) {
        Require(lines.ends_with('\n'));
        CheckPrintable(lines);
      },
      false);
  HtmlView html("name");
  html.BeginFile("name");
  for (const Event& event : events) {
    summary.Handle(event);
    findings.Handle(event);
    text.Handle(event);
    html.Handle(event);
    if (event.kind == EventKind::kEntry) CheckTableLine(CsvLine(event, {}));
  }
  text.Close(summary.Total(), false);
  CheckPrintable(SummaryText(summary, false, false));
  Require(nlohmann::json::parse(JsonSummary(summary, false))["jobs"].size() ==
          summary.Jobs().size());
  const std::size_t count = findings.All().size();
  Require(count == summary.Total().warnings + summary.Total().errors);
  Require(Compare(findings.All(), findings.All()).same == count);
  Require(Compare({}, findings.All()).fresh.size() == count);
  CheckPage(html.Page(false));
}

std::uint64_t CountEntries(const std::vector<Event>& events) {
  return static_cast<std::uint64_t>(std::ranges::count_if(events, [](const Event& event) {
    return event.kind == EventKind::kEntry && !event.continued;
  }));
}

void CheckFilter(const std::vector<Event>& events, Wanted wanted) {
  wanted.fold = [](std::string_view path) { return std::string(path); };
  std::vector<Event> through;
  EntryFilter filter(wanted, [&](const Event& event) { through.push_back(event); });
  for (const Event& event : events) filter.Handle(event);
  Require(CountEntries(through) + filter.EntriesLeftOut() == CountEntries(events));
  for (const Event& event : through) {
    if (event.kind == EventKind::kEntry) Require(event.severity >= wanted.least);
  }
}

}  // namespace

// Three times as many inputs; who looks into a finding sets ASAN_OPTIONS, which come before these.
extern "C" const char* __asan_default_options() {
  return "quarantine_size_mb=1:malloc_context_size=0:detect_stack_use_after_return=0";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  bool refused = false, refusedInPieces = false;
  const std::vector<Event> events = ReadAll(bytes, size + 1, refused);
  const std::vector<Event> same = ReadAll(bytes, 7, refusedInPieces);
  Require(refused == refusedInPieces && events.size() == same.size());
  Require(!refused || events.empty());
  for (std::size_t i = 0; i < events.size(); ++i) {
    Require(events[i].text == same[i].text && events[i].at.offset == same[i].at.offset);
  }
  if (refused) return 0;
  CheckOrder(events, size);
  CheckViews(events);
  Wanted problems, inFolder, late;
  problems.least = Severity::kWarning;
  inFolder.folder = "C:\\A";
  late.since = LogTime{1'700'000'000};
  for (const Wanted& wanted : {problems, inFolder, late}) CheckFilter(events, wanted);
  return 0;
}
