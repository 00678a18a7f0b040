#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "joblog/code_filter.h"
#include "joblog/element_names.h"
#include "joblog/html_view.h"
#include "joblog/json_view.h"
#include "joblog/text_view.h"

namespace vtclass::joblog {
namespace {

using Json = nlohmann::json;

Event Make(EventKind kind, std::size_t depth, const std::string& text,
           const std::string& code = "") {
  Event event;
  event.kind = kind;
  event.depth = depth;
  event.text = text;
  event.code = code;
  event.document = 1;
  if (kind == EventKind::kEntry && !code.empty()) {
    event.element = "Warning";
    event.type = "access_denied";
    event.severity = Severity::kWarning;
  }
  return event;
}

std::string TextOf(const Event& event, bool colour) {
  std::string all;
  TextView view([&](std::string_view line) { all += line; }, colour);
  view.Handle(event);
  return all;
}

TEST(Label, AnyName_ReadsAsWords) {
  const char* cases[][2] = {{"backed_up_dirs_files", "Backed up dirs files"},
                            {"OperationErrors", "Operation errors"},
                            {"SelNotExist", "Sel not exist"},
                            {"SQL objects warning", "SQL objects warning"},
                            {"UMI", "Umi"},
                            {"", ""}};
  for (const auto& c : cases) EXPECT_EQ(Label(c[0]), c[1]);
}

TEST(TextView, Handle_ControlCharacters_DoNotReachTheTerminal) {
  const std::string line = TextOf(Make(EventKind::kEntry, 1,
                                       "a\x1b[31m\x7f\xC2\x9B\xE2\x80\xAA\xE2\x80\xAE\xE2\x81\xA6"
                                       "\xE2\x81\xA9\xE2\x81\xAA\tb\nc"),
                                  true);
  EXPECT_EQ(line,
            "  a\xE2\x90\x9B[31m\xE2\x90\xA1\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"
            "\xEF\xBF\xBD\xE2\x81\xAA\tb\n    c\n");
}

TEST(TextView, Handle_Severities_AreNamedAndColoured) {
  const Event event = Make(EventKind::kEntry, 0, "no", "Q-79-1-2");
  EXPECT_EQ(TextOf(event, false), "Warning Q-79-1-2: no\n");
  EXPECT_EQ(TextOf(event, true), "\x1b[33mWarning Q-79-1-2: \x1b[0mno\n");
}

TEST(TextView, Handle_EntryWithoutSubject_GetsItsLabel) {
  const struct {
    const char* element;
    const char* text;
    const char* line;
  } cases[] = {{"compression", "None", "Compression: None\n"},
               {"compression", "Compression: None", "Compression: None\n"},
               {"agent_started", "Agent started on X", "Agent started on X\n"},
               {"file_name", "a.txt", "a.txt\n"},
               {"set_ended", "", "Set ended\n"}};
  for (const auto& c : cases) {
    Event event = Make(EventKind::kEntry, 0, c.text);
    event.element = c.element;
    EXPECT_EQ(TextOf(event, false), c.line);
  }
}

TEST(JsonLine, AnyEvent_ParsesBackOnOneLine) {
  Event event = Make(EventKind::kEntry, 3, "a\n\"b\"\x01\xFF", "Q-79-1-2");
  event.at = {70, 2, 8};
  event.partial = true;
  const std::string line = JsonLine(event);
  EXPECT_EQ(line.find('\n'), line.size() - 1);
  const Json json = Json::parse(line);
  EXPECT_EQ(json["kind"], "entry");
  EXPECT_EQ(json["severity"], "warning");
  EXPECT_EQ(json["code"], "Q-79-1-2");
  EXPECT_EQ(json["type"], "access_denied");
  EXPECT_EQ(json["offset"], 70);
  EXPECT_EQ(json["text"], "a\n\"b\"\x01\xEF\xBF\xBD");
  EXPECT_EQ(json["partial"], true);
  EXPECT_FALSE(json.contains("continued"));
  EXPECT_EQ(Json::parse(JsonLine(Make(EventKind::kFolder, 0, "C:\\")))["path"], "C:\\");
  EXPECT_EQ(Json::parse(JsonSummary(Tally(), true))["stillOpen"], true);
}

TEST(CodeFilter, Handle_Code_LeavesItsEntriesAndTheHeadingsAboveThem) {
  std::string seen;
  CodeFilter filter({"Q-79-1-2"}, [&](const Event& event) { seen += event.text + " "; });
  filter.Handle(Make(EventKind::kDocument, 0, "log"));
  filter.Handle(Make(EventKind::kFolder, 0, "empty"));
  filter.Handle(Make(EventKind::kFolder, 0, "outer"));
  filter.Handle(Make(EventKind::kEntry, 1, "other", "Q-79-1-3"));
  filter.Handle(Make(EventKind::kFolder, 1, "inner"));
  filter.Handle(Make(EventKind::kEntry, 2, "hit", "Q-79-1-2"));
  Event more = Make(EventKind::kEntry, 2, "more", "");
  more.continued = true;
  filter.Handle(more);
  filter.Handle(Make(EventKind::kEntry, 2, "plain"));
  filter.Handle(Make(EventKind::kEntry, 1, "again", "Q-79-1-2"));
  filter.Handle(Make(EventKind::kDocumentEnd, 0, "end"));
  EXPECT_EQ(seen, "log outer inner hit more again end ");
}

TEST(NormalCode, AnyText_IsAnIdentifierOrEmpty) {
  EXPECT_EQ(NormalCode("q-79-57344-33928"), "Q-79-57344-33928");
  for (const char* bad : {"", "Q", "Q-79-", "Q-79-1", "Q-79-1-", "Q-79-65536-1", "Q-79-1-2-3",
                          "Q-80-1-2", "Q-79-1-2 ", "Q-79--1-2"}) {
    EXPECT_EQ(NormalCode(bad), "") << bad;
  }
}

std::string PageOf(const std::vector<Event>& events) {
  HtmlView view("<a & b>.xml");
  Tally tally;
  for (const Event& event : events) {
    tally.Add(event);
    view.Handle(event);
  }
  return view.Page(tally, false);
}

std::size_t Count(const std::string& text, const std::string& what) {
  std::size_t count = 0;
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
    ++count;
  return count;
}

TEST(HtmlView, Page_ContentOfTheLog_StaysText) {
  const std::string attack = "\"'><script>alert(1)</script><img src=x onerror=alert(2)><!--";
  Event entry = Make(EventKind::kEntry, 2, attack, attack);
  entry.type = entry.element = entry.detail = attack;
  Event section = Make(EventKind::kSection, 1, "");
  section.element = section.type = attack;
  const std::string page = PageOf(
      {Make(EventKind::kDocument, 0, attack), Make(EventKind::kFolder, 0, attack), section, entry,
       Make(EventKind::kDamage, 2, attack), Make(EventKind::kDocumentEnd, 0, attack)});
  EXPECT_EQ(Count(page, "<script"), 1U);
  EXPECT_EQ(Count(page, "<img"), 0U);
  EXPECT_EQ(Count(page, "<!--"), 0U);
  EXPECT_NE(page.find("<h1>&lt;a &amp; b&gt;.xml</h1>"), std::string::npos);
  EXPECT_NE(page.find("&quot;&#39;&gt;&lt;script&gt;"), std::string::npos);
  for (const char* outside : {"http:", "https:", "//", "url(", "@import"}) {
    EXPECT_EQ(Count(page.substr(0, page.find("<main>")), outside), 0U) << outside;
  }
}

TEST(HtmlView, Page_Groups_AreBalancedCountedAndOpenWhereProblemsAre) {
  std::vector<Event> events = {
      Make(EventKind::kDocument, 0, "2.0"), Make(EventKind::kFolder, 0, "outer"),
      Make(EventKind::kFolder, 1, "inner"), Make(EventKind::kEntry, 2, "w", "Q-79-1-2"),
      Make(EventKind::kFolder, 0, "clean"), Make(EventKind::kEntry, 1, "file")};
  for (std::size_t depth = 1; depth < 2000; ++depth) {
    events.push_back(Make(EventKind::kFolder, depth, "deep"));
  }
  events.push_back(Make(EventKind::kDocumentEnd, 0, ""));
  const std::string page = PageOf(events);
  EXPECT_EQ(Count(page, "<details"), Count(page, "</details>"));
  EXPECT_EQ(Count(page, "<div"), Count(page, "</div>"));
  EXPECT_NE(
      page.find("<details class=\"folder\" open><summary><span>outer</span> <span class=\"tag "
                "warning\">1 warning</span>"),
      std::string::npos);
  EXPECT_NE(page.find("<details class=\"folder\"><summary><span>clean</span> <span "
                      "class=\"tag\">1 entry</span>"),
            std::string::npos);
}

}  // namespace
}  // namespace vtclass::joblog
