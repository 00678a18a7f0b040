// What stands between the reader and the views: filters, the summary, the comparison, times.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "joblog/comparison.h"
#include "joblog/entry_filter.h"
#include "joblog/json_view.h"
#include "joblog/log_time.h"
#include "joblog/summary.h"
#include "joblog/summary_text.h"

namespace vtclass::joblog {
namespace {

using Json = nlohmann::json;

Event Make(EventKind kind, std::size_t depth, const std::string& text,
           const std::string& element = "") {
  Event event;
  event.kind = kind;
  event.depth = depth;
  event.text = text;
  event.element = element;
  event.document = 1;
  event.closed = kind == EventKind::kDocumentEnd;
  return event;
}

Event Problem(Severity severity, std::size_t depth, const std::string& text,
              const std::string& code = "Q-79-1-2") {
  Event event = Make(EventKind::kEntry, depth, text, "x");
  event.severity = severity;
  event.type = "access_denied";
  event.code = code;
  return event;
}

const Event kBegin = Make(EventKind::kDocument, 0, "log");
const Event kEnd = Make(EventKind::kDocumentEnd, 0, "end");

std::string Lower(std::string_view text) {
  std::string folded(text);
  for (char& letter : folded) letter = static_cast<char>(std::tolower(letter));
  return folded;
}

// A log with folders, severities and a start, through a filter: the texts that pass.
struct Filtered {
  std::string texts;
  std::uint64_t entries = 0; /* left out */
  std::uint64_t jobs = 0;
};

Filtered Filter(Wanted wanted, const std::vector<Event>& events) {
  wanted.fold = Lower;
  Filtered result;
  EntryFilter filter(wanted, [&](const Event& event) { result.texts += event.text + " "; });
  for (const Event& event : events) filter.Handle(event);
  result.entries = filter.EntriesLeftOut();
  result.jobs = filter.JobsLeftOut();
  return result;
}

template <typename Value>
Wanted With(Value Wanted::* member, Value value) {
  Wanted wanted;
  wanted.*member = std::move(value);
  return wanted;
}
Wanted Least(Severity least) { return With(&Wanted::least, least); }
Wanted Under(std::string folder) { return With(&Wanted::folder, std::move(folder)); }
Wanted Since(LogTime time) { return With(&Wanted::since, std::optional(time)); }
Wanted Until(LogTime time) { return With(&Wanted::until, std::optional(time)); }
Wanted Codes(std::vector<std::string> codes, Severity least) {
  Wanted wanted = With(&Wanted::codes, std::move(codes));
  wanted.least = least;
  return wanted;
}

std::vector<Event> Log() {
  Event more = Problem(Severity::kError, 4, "more", "");
  more.continued = true;
  return {kBegin,
          Make(EventKind::kEntry, 0, "2025-01-31 22:00:00", "job_started"),
          Make(EventKind::kSet, 0, "set"),
          Make(EventKind::kFolder, 1, "C:\\A"),
          Problem(Severity::kWarning, 2, "w"),
          Make(EventKind::kFolder, 2, "C:/A/B"),
          Problem(Severity::kError, 3, "e", "Q-79-1-3"),
          more,
          Make(EventKind::kDamage, 0, "damage"),
          Make(EventKind::kEntry, 3, "i"),
          Make(EventKind::kFolder, 1, "C:\\AB"),
          Problem(Severity::kRecommendation, 2, "r"),
          Make(EventKind::kEntry, 0, "last"),
          kEnd};
}

TEST(EntryFilter, Handle_EachCriterion_LeavesItsEntriesAndTheHeadingsAboveThem) {
  const LogTime start = *TimeIn("2025-01-31 22:00:00");
  const std::string all =
      "log 2025-01-31 22:00:00 set C:\\A w C:/A/B e more damage i C:\\AB r last end ";
  const struct {
    const char* name;
    Wanted wanted;
    std::string texts;
    std::uint64_t entries;
  } cases[] = {
      {"nothing", {}, all, 0},
      {"warnings", Least(Severity::kWarning), "log set C:\\A w C:/A/B e more damage end ", 4},
      {"errors", Least(Severity::kError), "log set C:\\A C:/A/B e more damage end ", 5},
      {"code", Codes({"Q-79-1-2"}, Severity::kInfo), "log set C:\\A w damage C:\\AB r end ", 4},
      {"codes and severity", Codes({"Q-79-1-2", "Q-79-1-3"}, Severity::kError),
       "log set C:\\A C:/A/B e more damage end ", 5},
      {"folder", Under("c:\\a\\"), "log set C:\\A w C:/A/B e more damage i end ", 3},
      {"deeper folder", Under("C:\\A\\b"), "log set C:\\A C:/A/B e more damage i end ", 4},
      {"a name that only begins so", Under("C:\\A\\B\\C"), "log damage end ", 6},
      {"since then", Since(start), all, 0},
      {"since later", Since(LogTime{start.seconds + 1}), "", 6},
      {"until then", Until(start), all, 0},
      {"until earlier", Until(LogTime{start.seconds - 1}), "", 6},
  };
  for (const auto& c : cases) {
    const Filtered result = Filter(c.wanted, Log());
    EXPECT_EQ(result.texts, c.texts) << c.name;
    EXPECT_EQ(result.entries, c.entries) << c.name;
    EXPECT_EQ(result.jobs, c.texts.empty() ? 1U : 0U) << c.name;
  }
}

// An error may hold elements and go on behind them; the name of a folder may go on too.
TEST(EntryFilter, Handle_Continuation_GoesWithItsEntry) {
  const auto more = [](Event event, std::size_t depth) {
    event.depth = depth;
    event.continued = true;
    event.text = "more";
    event.code.clear();
    return event;
  };
  const Event error = Problem(Severity::kError, 0, "e");
  const Event child = Make(EventKind::kEntry, 1, "child", "file_name");
  const Event folder = Make(EventKind::kFolder, 1, "C:\\A", "directory_name");
  const Event name = Make(EventKind::kEntry, 2, "", "directory_name");
  for (const Wanted& wanted : {Least(Severity::kError), Codes({"Q-79-1-2"}, Severity::kInfo)}) {
    EXPECT_EQ(Filter(wanted, {error, child, more(error, 1)}).texts, "e more ");
    EXPECT_EQ(Filter(wanted, {error, child, more(child, 1)}).texts, "e ");
    EXPECT_EQ(Filter(wanted, {error, folder, more(name, 2)}).texts, "e ");
  }
}

TEST(EntryFilter, Handle_LogThatDoesNotTellWhenItBegan_IsShown) {
  const Event set = Make(EventKind::kSet, 0, "set");
  const Event late = Make(EventKind::kEntry, 1, "2025-01-31 22:00:00", "job_started");
  const Wanted wanted = Since(LogTime{TimeIn("2030-01-01 00:00:00")->seconds});
  EXPECT_EQ(Filter(wanted, {kBegin, set, late, kEnd}).texts, "log set 2025-01-31 22:00:00 end ");
  EXPECT_EQ(Filter(wanted, {kBegin, kEnd, kBegin, late, kEnd, kBegin, set, kEnd}).texts,
            "log end log end ");
}

TEST(NormalCode, AnyText_IsAnIdentifierOrEmpty) {
  EXPECT_EQ(NormalCode("q-79-57344-33928"), "Q-79-57344-33928");
  for (const char* bad : {"", "Q", "Q-79-", "Q-79-1", "Q-79-1-", "Q-79-65536-1", "Q-79-1-2-3",
                          "Q-80-1-2", "Q-79-1-2 ", "Q-79--1-2"}) {
    EXPECT_EQ(NormalCode(bad), "") << bad;
  }
}

std::string IsoOrNone(const std::optional<LogTime>& time) { return time ? IsoText(*time) : ""; }

TEST(LogTime, TimeIn_AnyMessage_IsItsFirstTime) {
  const char* cases[][2] = {{"Job started: 2025-01-31 22:00:05", "2025-01-31T22:00:05"},
                            {"2024-02-29T23:59:59 and 2025-01-01 00:00:00", "2024-02-29T23:59:59"},
                            {"1969-12-31 23:59:59", "1969-12-31T23:59:59"},
                            {"0001-01-01 00:00:00!", "0001-01-01T00:00:00"},
                            {"2025-02-29 00:00:00", ""},
                            {"2025-13-01 00:00:00 2025-12-01 00:00:00", "2025-12-01T00:00:00"},
                            {"2025-01-01 24:00:00", ""},
                            {"2025-01-01 00:60:00", ""},
                            {"2025-01-01 00:00:60", ""},
                            {"12025-01-01 00:00:00", ""},
                            {"2025-01-01 00:00:001", ""},
                            {"2025-01-31 22:00", ""},
                            {"", ""}};
  for (const auto& c : cases) EXPECT_EQ(IsoOrNone(TimeIn(c[0])), c[1]) << c[0];
}

TEST(LogTime, ParseTime_WhatIsLeftOut_IsTheFirstOrTheLastMoment) {
  const char* cases[][3] = {{"2025-01-31", "2025-01-31T00:00:00", "2025-01-31T23:59:59"},
                            {"2025-01-31T22:10", "2025-01-31T22:10:00", "2025-01-31T22:10:59"},
                            {"2025-01-31 22:10:05", "2025-01-31T22:10:05", "2025-01-31T22:10:05"},
                            {"2025-1-31", "", ""},
                            {"2025-01-31T", "", ""},
                            {"yesterday!", "", ""},
                            {"2025-01-31T22:1x", "", ""},
                            {"2025-01-31T22:10:05Z", "", ""},
                            {"", "", ""}};
  for (const auto& c : cases) {
    EXPECT_EQ(IsoOrNone(ParseTime(c[0], false)), c[1]) << c[0];
    EXPECT_EQ(IsoOrNone(ParseTime(c[0], true)), c[2]) << c[0];
  }
}

std::vector<Event> LongLog() {
  const auto step = [](const char* element, const char* text) {
    return Make(EventKind::kEntry, 0, text, element);
  };
  return {kBegin,
          step("job_name", "Job name: 2001-01-01 00:00:00"),
          step("job_started", "Job started: 2025-01-31 22:00:00"),
          step("set_started", "Set started: 2025-01-31 22:00:10"),
          Make(EventKind::kFolder, 0, "C:\\A"),
          Problem(Severity::kWarning, 1, "one"),
          Problem(Severity::kError, 1, "two: Denied. (5)", "Q-79-1-3"),
          Problem(Severity::kWarning, 1, "three"),
          Make(EventKind::kSection, 0, "", "skipped_items_summary"),
          Make(EventKind::kEntry, 1, "Skipped", "heading"),
          Make(EventKind::kEntry, 1, "link one", "reparse_point"),
          Make(EventKind::kEntry, 1, "link two", "reparse_point"),
          Make(EventKind::kEntry, 1, "and 1,232 more", "note"),
          Make(EventKind::kEntry, 0, "Skipped: 1,234 of 2,000", "total_skipped"),
          Make(EventKind::kEntry, 0, "link", "reparse_point"),
          step("set_ended", "Set ended: 2025-01-31 23:30:10"),
          step("job_ended", "Job ended: 2025-01-31 23:30:15"),
          step("job_completion_status", "Completion: failed"),
          kEnd};
}

TEST(Summary, Handle_ALog_TellsVerdictReasonsJobsAndGaps) {
  Summary summary;
  summary.BeginFile("a.xml");
  for (const Event& event : LongLog()) summary.Handle(event);
  summary.LeftOut(3, 2);
  const Json json = Json::parse(JsonSummary(summary, false));
  EXPECT_EQ(json["verdict"], "errors");
  EXPECT_EQ(json["skipped"], 1234);
  EXPECT_EQ(json["entriesLeftOut"], 3);
  const auto& causes = json["reasons"];
  ASSERT_EQ(causes.size(), 3U);
  const Json denied = {{"severity", "error"}, {"skipped", false},
                       {"count", 1},          {"label", "Access denied"},
                       {"code", "Q-79-1-3"},  {"path", "C:\\A"},
                       {"status", 5},         {"type", "access_denied"},
                       {"element", "x"},      {"text", "two: Denied. (5)"},
                       {"document", 1},       {"offset", 0}};
  EXPECT_EQ(causes[0], denied);
  EXPECT_EQ(causes[1]["count"], 2);
  EXPECT_EQ(causes[1]["text"], "one");
  EXPECT_EQ(causes[2]["skipped"], true);
  EXPECT_EQ(causes[2]["label"], "Reparse point");
  EXPECT_EQ(causes[2]["count"], 2);
  ASSERT_EQ(json["gaps"].size(), 3U);
  EXPECT_EQ(json["gaps"][0]["milliseconds"], 5400000);
  EXPECT_EQ(json["gaps"][0]["from"], "2025-01-31T22:00:10");
  EXPECT_EQ(json["gaps"][1]["milliseconds"], 10000);
  EXPECT_EQ(json["gaps"][2]["milliseconds"], 5000);
  const auto& job = json["jobs"][0];
  EXPECT_EQ(job["file"], "a.xml");
  EXPECT_EQ(job["started"], "2025-01-31T22:00:00");
  EXPECT_EQ(job["ended"], "2025-01-31T23:30:15");
  EXPECT_EQ(job["completion"], "Completion: failed");

  const std::string text = SummaryText(summary, false, false);
  EXPECT_TRUE(text.starts_with("1 error, 2 warnings in what is shown, 1,234 items skipped.\n"))
      << text;
  for (const char* line :
       {"\n        1  error: Access denied (Q-79-1-3)\n", "such as: two: Denied. (5)\n",
        "\n  Entries left out  3\n  Jobs left out     2\n",
        "  1:30:00  from \"Set started: 2025-01-31 22:00:10\" to ",
        "began 2025-01-31T22:00:00, took 1:30:15\n"}) {
    EXPECT_NE(text.find(line), std::string::npos) << line << text;
  }
}

TEST(Summary, Result_OfSeveralFiles_IsTheWorstOfTheirLastLogs) {
  Event cut = kEnd;
  cut.closed = false;
  const Event warning = Problem(Severity::kWarning, 0, "w");
  const struct {
    std::vector<std::vector<Event>> files;
    const char* verdict;
  } cases[] = {
      {{{kBegin, kEnd}, {kBegin, kEnd}}, "clean"},
      {{{kBegin, cut}, {kBegin, kEnd}}, "unfinished"},
      {{{kBegin, cut, kBegin, kEnd}}, "warnings"},
      {{{kBegin, warning, kEnd}, {kBegin, kEnd}}, "warnings"},
      {{{}}, "clean"},
  };
  for (const auto& c : cases) {
    Summary summary;
    for (std::size_t i = 0; i < c.files.size(); ++i) {
      summary.BeginFile(std::to_string(i));
      for (const Event& event : c.files[i]) summary.Handle(event);
    }
    EXPECT_STREQ(OutcomeName(summary.Result()), c.verdict);
  }
}

TEST(Summary, Handle_LongTexts_AreCutBetweenCharacters) {
  Summary summary;
  summary.Handle(kBegin);
  summary.Handle(Problem(Severity::kError, 0, std::string(999, 'x') + "\xC3\xA4" + ". (5)"));
  summary.Handle(kEnd);
  const std::vector<Cause> causes = summary.Causes().causes;
  ASSERT_EQ(causes.size(), 1U);
  EXPECT_EQ(causes[0].first.text, std::string(999, 'x') + "...");
  EXPECT_EQ(causes[0].status, 5U);
}

// A log of nothing but different reasons, or of nothing but documents, stays small.
TEST(Summary, Handle_BeyondItsLimits_OnlyCounts) {
  Summary summary;
  for (std::size_t i = 0; i < kMostJobs + 2; ++i) {
    summary.Handle(kBegin);
    const std::string code = "Q-79-1-" + std::to_string(i);
    if (i < kMostCauses + 5) summary.Handle(Problem(Severity::kError, 0, "e", code));
    summary.Handle(kEnd);
  }
  EXPECT_EQ(summary.Causes().causes.size(), kMostCauses);
  EXPECT_EQ(summary.Causes().further, 5U);
  EXPECT_EQ(summary.Jobs().size(), kMostJobs);
  EXPECT_EQ(summary.FurtherJobs(), 2U);
}

std::vector<Finding> FindingsOf(const std::vector<Event>& events) {
  Findings findings;
  for (const Event& event : events) findings.Handle(event);
  return findings.All();
}

TEST(Compare, TwoLogs_TellWhatIsGoneAndNew) {
  const Event folder = Make(EventKind::kFolder, 0, "C:\\A");
  const Event other = Make(EventKind::kFolder, 0, "C:\\B");
  const Event error = Problem(Severity::kError, 1, "a");
  const Event warning = Problem(Severity::kWarning, 1, "a");
  const struct {
    const char* name;
    std::vector<Event> before, now;
    std::size_t gone, fresh, same;
  } cases[] = {
      {"the same", {folder, error}, {folder, error}, 0, 0, 1},
      {"another folder", {folder, error}, {other, error}, 1, 1, 0},
      {"another severity", {folder, error}, {folder, warning}, 1, 1, 0},
      {"another order", {folder, error, warning}, {folder, warning, error}, 0, 0, 2},
      {"twice", {folder, error}, {folder, error, error}, 0, 1, 1},
      {"once", {folder, error, error}, {folder, error}, 1, 0, 1},
      {"another code", {error}, {Problem(Severity::kError, 1, "a", "Q-79-1-9")}, 1, 1, 0},
      {"another text", {error}, {Problem(Severity::kError, 1, "b")}, 1, 1, 0},
      {"no findings", {Problem(Severity::kRecommendation, 1, "a")}, {kBegin, kEnd}, 0, 0, 0},
  };
  for (const auto& c : cases) {
    const Comparison result = Compare(FindingsOf(c.before), FindingsOf(c.now));
    EXPECT_EQ(result.gone.size(), c.gone) << c.name;
    EXPECT_EQ(result.fresh.size(), c.fresh) << c.name;
    EXPECT_EQ(result.same, c.same) << c.name;
  }
  Event more = Problem(Severity::kError, 1, "more");
  more.continued = true;
  const Comparison whole = Compare({}, FindingsOf({folder, error, more}));
  ASSERT_EQ(whole.fresh.size(), 1U);
  EXPECT_EQ(whole.fresh[0].entry.text, "a more");
  EXPECT_EQ(whole.Worst(), Severity::kError);
  EXPECT_EQ(Comparison().Worst(), Severity::kInfo);
  Tally wrapped;
  wrapped.wrapped = 1;
  EXPECT_EQ(ComparisonText(whole, Tally(), wrapped, false),
            "Fails now and did not before: 1\n  + Error Q-79-1-2: a more [C:\\A]\n\n"
            "Failed before and does not now: 0\n\nThe same in both: 0\n"
            "The newer log is not whole: what does not fail in it may stand in what is missing.\n");
  EXPECT_NE(ComparisonText(whole, wrapped, Tally(), false).find("The older log is not"),
            std::string::npos);
}

TEST(StatusIn, Messages_TellTheSystemsStatusAtTheirEndOnly) {
  const struct {
    const char* text;
    std::int64_t status;
  } cases[] = {{"C:\\a could not be read: Access denied. (5)", 5},
               {"x: Fehler\xE3\x80\x82 (0x80070005)", 0x80070005},
               {"The path C:\\a (2)", -1},
               {"Denied. (5) again", -1},
               {"Denied. ()", -1},
               {"Denied. (0)", -1},
               {"Denied. (5x)", -1},
               {"Denied. (55", -1},
               {"Denied. (4294967296)", -1},
               {")", -1},
               {"", -1}};
  for (const auto& c : cases) {
    const auto status = StatusIn(Problem(Severity::kWarning, 0, c.text));
    EXPECT_EQ(status ? std::int64_t{*status} : -1, c.status) << c.text;
  }
  EXPECT_FALSE(StatusIn(Make(EventKind::kEntry, 0, "Denied. (5)")));
}

}  // namespace
}  // namespace vtclass::joblog
