#include "joblog/joblog_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "joblog/tally.h"

namespace vtclass::joblog {
namespace {

// NOLINTBEGIN(cert-err58-cpp): memory that is missing at start may end a test
const std::string kAnsiHead =
    "<?xml version=\"1.0\" encoding=\"windows-1252\"?>\r\n<joblog><job_log_version "
    "version=\"2.0\"/>";
const std::string kUtf16Head =
    "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n<joblog><job_log_version version=\"2.0\"/>";
// NOLINTEND(cert-err58-cpp)

// UTF-16LE of ASCII text.
std::string Wide(const std::string& text) {
  std::string bytes;
  for (const char letter : text) (bytes += letter) += '\0';
  return bytes;
}

std::string WideLog(const std::string& body) { return "\xFF\xFE" + Wide(kUtf16Head + body); }

// A file that is handed over in pieces of `piece` bytes.
struct Source {
  std::string bytes;
  std::size_t piece = 1 << 20;
  std::size_t at = 0;
  std::size_t operator()(char* to, std::size_t room) {
    const std::size_t count = std::min({room, piece, bytes.size() - at});
    std::memcpy(to, bytes.data() + at, count);
    at += count;
    return count;
  }
};

std::string Describe(const Event& event) {
  static const char* const kKinds[] = {"log", "set", "section", "folder", "entry", "damage", "end"};
  static const char* const kSeverities[] = {"", "!", "W", "E"};
  std::string text = std::to_string(event.depth) + " " + kKinds[static_cast<int>(event.kind)] +
                     kSeverities[static_cast<int>(event.severity)];
  for (const std::string& field :
       {event.element, event.type, event.detail, event.code, event.text}) {
    if (!field.empty()) text += " " + field;
  }
  if (event.continued) text += " +";
  if (event.partial) text += " ~";
  if (event.kind == EventKind::kDocumentEnd && event.closed) text += " closed";
  return text;
}

struct Outcome {
  std::vector<Event> events;
  std::vector<std::string> lines;  // without the document and its closed end
  std::optional<Refusal> refused;
  Tally tally;
};

Outcome Read(const std::string& bytes, std::size_t piece = 1 << 20) {
  Outcome outcome;
  JobLogReader reader(Source{bytes, piece});
  for (Event event; reader.Next(event);) {
    outcome.tally.Add(event);
    if (event.kind != EventKind::kDocument && !event.closed) {
      outcome.lines.push_back(Describe(event));
    }
    outcome.events.push_back(event);
  }
  outcome.refused = reader.Refused();
  return outcome;
}

using Lines = std::vector<std::string>;

struct BodyCase {
  const char* name;
  std::string body;  // behind the header, before "</joblog>"
  Lines lines;
};

TEST(JobLogReader, Next_AnyBody_GivesItsEntriesInBothEncodings) {
  const BodyCase cases[] = {
      {"text in elements",
       "<job_name>A &amp; B&lt;&gt;&apos;&quot;</job_name><compression></compression>",
       {"0 entry job_name A & B<>'\"", "0 entry compression"}},
      {"numeric and broken entities",
       "<note>&#65;&#x1F600;&nbsp;&#0;&#xD800000;&amp</note>",
       {"0 entry note A\xF0\x9F\x98\x80&nbsp;&#0;&#xD800000;&amp"}},
      {"text outside elements", "one\r\n\r\n  two  \r\n", {"0 entry one", "0 entry two"}},
      {"line ends in an element",
       "<note>one\r\ntwo\rthree\r\n</note>",
       {"0 entry note one\ntwo\rthree"}},
      {"identifier",
       "<OperationErrors Type=\"comm_failure\"><UMI>Q-79-57344-33928</UMI> - "
       "lost</OperationErrors>",
       {"0 entryE OperationErrors comm_failure Q-79-57344-33928 lost"}},
      {"identifier without bit 29",
       "<Warning Type=\"access_denied\"> - no</Warning>",
       {"0 entryW Warning access_denied no"}},
      {"a dash that is no prefix", "<note>- item</note>", {"0 entry note - item"}},
      {"raw text",
       "<note>a < b && c <not a tag> <3 </ > <b/>x</note>",
       {"0 entry note a < b && c <not a tag> <3 </ >", "1 entry b", "1 entry x"}},
      {"raw value",
       R"(<SelNotExist sel_type="x" sel_id="a"b>c<d" >gone</SelNotExist>)",
       {"0 entry SelNotExist x a\"b>c<d gone"}},
      {"sets and sections",
       "<set><set_number>1</set_number><totals><total_files>2</total_files></totals></set><set>"
       "<set_number>2</set_number></set>",
       {"0 set set", "1 entry set_number 1", "1 section totals", "2 entry total_files 2",
        "0 set set", "1 entry set_number 2"}},
      {"sets without elements",
       "<set_number>1</set_number><a_b>x</a_b><set_number>2</set_number>",
       {"0 set", "1 entry set_number 1", "1 entry a_b x", "0 set", "1 entry set_number 2"}},
      {"an error that holds elements",
       "<OperationErrors Type=\"t\">a<file_name>b</file_name>c</OperationErrors><note>d</note>",
       {"0 entryE OperationErrors t a", "1 entry file_name b", "1 entryE OperationErrors t c +",
        "0 entry note d"}},
      // As the writer nests: C:\A, C:\A\B, C:\A\B\C, C:\D, and the end.
      {"folders follow their paths",
       "<d><d><directory_name>C:\\A</directory_name><f_n>1</f_n><d><d><directory_name>C:\\A\\B"
       "</directory_name></d><d><directory_name>C:\\A\\B\\C</directory_name><f_n>2</f_n></d></d>"
       "</d><d><directory_name>C:\\D</directory_name><f_n>3</f_n></d></d><f_n>4</f_n>",
       {"0 folder directory_name C:\\A", "1 entry f_n 1", "1 folder directory_name C:\\A\\B",
        R"(2 folder directory_name C:\A\B\C)", "3 entry f_n 2", "0 folder directory_name C:\\D",
        "1 entry f_n 3", "0 entry f_n 4"}},
      {"a name that only begins alike",
       "<d><directory_name>C:\\A</directory_name></d><d><directory_name>C:\\AB</directory_name></"
       "d>",
       {"0 folder directory_name C:\\A", "0 folder directory_name C:\\AB"}},
      {"a root, which ends with its separator",
       "<d><directory_name>C:\\</directory_name></d><d><directory_name>C:\\A</directory_name></d>",
       {"0 folder directory_name C:\\", "1 folder directory_name C:\\A"}},
      {"a folder's name not closed",
       "<d><directory_name>C:\\A<note>a</note></d>",
       {"0 folder directory_name C:\\A", "1 entry note a",
        "1 damage <directory_name> is not closed before </d>."}},
      {"surplus closing tag",
       "<note>a</note></set>",
       {"0 entry note a", "0 damage </set> closes nothing."}},
      {"missing closing tags",
       "<set><note>a</set><note>b</note>",
       {"0 set set", "1 damage <note> is not closed before </set>.", "1 entry note a",
        "0 entry note b"}},
      {"nothing closed",
       "<set><note>a",
       {"0 set set", "1 entry note a",
        "0 damage The log ends with 2 elements that are not closed; the innermost is <note>."}},
      {"identifier not closed",
       "<Warning Type=\"t\"><UMI>Q-79-1-2<note>a</note></Warning>",
       {"1 damage <UMI> is not closed.", "0 entryW Warning t Q-79-1-2", "1 entry note a"}},
  };
  for (const BodyCase& c : cases) {
    SCOPED_TRACE(c.name);
    Lines lines = c.lines;
    // Where in the nest damage is reported is not promised.
    const auto plain = [](Lines all) {
      for (std::string& line : all) {
        if (line.find("damage") != std::string::npos) line.replace(0, 1, "*");
      }
      return all;
    };
    const Outcome wide = Read(WideLog(c.body + "</joblog>"));
    EXPECT_EQ(plain(wide.lines), plain(lines));
    EXPECT_TRUE(wide.tally.lastIsClosed);
    EXPECT_EQ(Read(kAnsiHead + c.body + "</joblog>").lines, wide.lines);
    EXPECT_EQ(Read(WideLog(c.body + "</joblog>"), 1).lines, wide.lines);
  }
}

TEST(JobLogReader, Next_CharactersOfBothEncodings_BecomeUtf8) {
  EXPECT_EQ(Read(kAnsiHead + "<note>\x80 \xE4\x9F\x81</note>").lines[0],
            "0 entry note \xE2\x82\xAC \xC3\xA4\xC5\xB8\xC2\x81");
  const std::string euroSmileLone("\xAC\x20\x3D\xD8\x00\xDE\x00\xDC", 8);
  const std::string text = Wide("<note>") + euroSmileLone + Wide("</note>");
  EXPECT_EQ(Read(WideLog("") + text).lines[0],
            "0 entry note \xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD");
}

struct FrontCase {
  const char* name;
  std::string bytes;
  Lines lines;
};

TEST(JobLogReader, Next_WithoutBeginning_ReadsOnFromTheFirstPiece) {
  const std::string rest = "</directory_name><f_n>a</f_n></d></set><note>b</note></joblog>";
  const Lines lines = {"0 folder directory_name C:\\A ~", "1 entry f_n a", "0 entry note b"};
  const FrontCase cases[] = {
      {"UTF-16", Wide("rectory_name>C:\\A" + rest), lines},
      {"UTF-16, cut inside a character", Wide("<irectory_name>C:\\A" + rest).substr(1), lines},
      {"ANSI, marker and blanks",
       "This file has wrapped.      \nC:\\A" + rest,
       {"0 folder directory_name C:\\A ~", "1 entry f_n a", "0 entry note b"}},
      {"ANSI, marker alone", "This file has wrapped.C:\\A" + rest, lines},
      {"cut inside an attribute",
       "ccess_denied\">no</Warning><a_b>c</a_b></joblog>",
       {"0 entryW Warning no ~", "0 entry a_b c"}},
      {"cut inside a closing tag", "ectory><a_b>c</a_b></joblog>", {"0 entry a_b c"}},
  };
  for (const FrontCase& c : cases) {
    SCOPED_TRACE(c.name);
    const Outcome outcome = Read(c.bytes);
    ASSERT_FALSE(outcome.refused) << outcome.refused->reason;
    EXPECT_EQ(outcome.lines, c.lines);
    EXPECT_EQ(outcome.events[0].beginning, Beginning::kWrapped);
    EXPECT_TRUE(outcome.tally.lastIsClosed);
  }
}

TEST(JobLogReader, Next_Folder_IsThePathOfItsSentence) {
  const char* cases[][2] = {{"Directory C:\\A b\\C", "C:\\A b\\C"},
                            {"Verzeichnis \\\\SRV\\share", "\\\\SRV\\share"},
                            {"d:/x", "d:/x"},
                            {"C:\\A D:\\B", "C:\\A D:\\B"},
                            {"Mailbox AC:\\x", "Mailbox AC:\\x"},
                            {"Drive C:", "Drive C:"},
                            {"Microsoft Information Store", "Microsoft Information Store"}};
  for (const auto& c : cases) {
    const std::string sentence(c[0]);
    EXPECT_EQ(Read(WideLog("<directory_name>" + sentence + "</directory_name>")).events[1].text,
              c[1]);
  }
}

TEST(JobLogReader, Next_CutAnywhere_EndsThereAndLosesNothingBefore) {
  const std::string whole =
      WideLog("<set><Warning Type=\"t\"><UMI>Q-79-1-2</UMI> - no</Warning></set></joblog>");
  ASSERT_TRUE(Read(whole).tally.lastIsClosed);
  for (std::size_t size = 1; size < whole.size(); ++size) {
    SCOPED_TRACE(size);
    const Outcome outcome = Read(whole.substr(0, size));
    if (size < 2) {
      EXPECT_TRUE(outcome.refused);
      continue;
    }
    ASSERT_FALSE(outcome.refused) << outcome.refused->reason;
    EXPECT_EQ(outcome.tally.Verdict(), Severity::kError);
    const Event& end = outcome.events.back();
    EXPECT_EQ(end.kind, EventKind::kDocumentEnd);
    EXPECT_LE(end.at.offset, size);
    EXPECT_GE(end.at.offset + 1, size);
  }
}

TEST(JobLogReader, Next_CutInside_SaysWhere) {
  EXPECT_EQ(Read(WideLog("<note>a</no")).lines.back(), "0 end in the middle of a tag: </no");
  EXPECT_EQ(Read(WideLog("<note>ab") + "c").lines.back(), "0 end in the middle of a character");
  EXPECT_EQ(Read(WideLog("<set><note>ab")).lines,
            (Lines{"0 set set", "1 entry note ab ~", "0 end inside <note>"}));
  // A full disk may have taken the rest, and left room for the end.
  const Outcome damaged = Read(WideLog("<set><note>ab</joblog>"));
  EXPECT_EQ(damaged.tally.Verdict(), Severity::kError);
  EXPECT_EQ(damaged.tally.Result(), vtclass::joblog::Outcome::kDamaged);
}

TEST(JobLogReader, Next_Appended_ReadsEachDocumentInItsEncoding) {
  const std::string first = WideLog("<note>a</note>"),
                    second = Wide(kUtf16Head + "<note>b</note></joblog>");
  const struct {
    const char* name;
    std::string bytes;
    std::uint64_t cutOff;
  } cases[] = {
      {"closed", first + Wide("</joblog>") + second, 0},
      {"cut between characters", first + Wide("<not") + second, 1},
      {"cut inside a character", first + "x" + second, 1},
      {"a second byte-order mark", first + Wide("</joblog>") + "\xFF\xFE" + second, 0},
      {"UTF-16 behind ANSI", kAnsiHead + "<note>a</note></joblog>" + second, 0},
      {"ANSI behind UTF-16", first + Wide("</joblog>") + kAnsiHead + "<note>b</note></joblog>", 0},
  };
  for (const auto& c : cases) {
    for (const std::size_t piece : {std::size_t{1}, std::size_t{100000}}) {
      SCOPED_TRACE(c.name);
      const Outcome outcome = Read(c.bytes, piece);
      EXPECT_EQ(outcome.tally.documents, 2U);
      EXPECT_EQ(outcome.tally.cutOff, c.cutOff);
      EXPECT_EQ(outcome.lines.front(), "0 entry note a");
      EXPECT_EQ(outcome.lines.back(), "0 entry note b");
      EXPECT_TRUE(outcome.tally.lastIsClosed);
      EXPECT_EQ(outcome.tally.Verdict(), c.cutOff ? Severity::kWarning : Severity::kInfo);
    }
  }
}

// A folder may have any name.
TEST(JobLogReader, Next_NameWhoseBytesSpellAHeader_IsAName) {
  const std::string end = "</directory_name>" + std::string(200, ' ') +
                          "<OperationErrors Type=\"t\">e</OperationErrors></set></joblog>";
  const std::string mark(kAnsiHead.size() % 2, ' ');
  const std::string aligned = Wide("<set><directory_name>a");
  const std::string names[] = {kAnsiHead + mark,
                               // One off: what has ASCII in its upper halves.
                               "x" + Wide(kUtf16Head + "<note>b</note></joblog>") + "x"};
  for (const std::string& name : names) {
    const Outcome outcome = Read(WideLog("") + aligned + name + Wide(end));
    EXPECT_EQ(outcome.tally.documents, 1U);
    EXPECT_EQ(outcome.tally.errors, 1U);
    EXPECT_EQ(outcome.tally.damages, 0U);
    EXPECT_TRUE(outcome.tally.lastIsClosed);
  }
}

TEST(JobLogReader, Next_WrappedWithinAnError_IsAnError) {
  const std::string error =
      "<OperationErrors Type=\"t\"><UMI>Q-79-1-2</UMI> - no</OperationErrors>";
  for (std::size_t cut = 1; cut < error.find(" - no"); ++cut) {
    const Outcome outcome = Read(Wide(error.substr(cut) + "<note>a</note></joblog>"));
    EXPECT_EQ(outcome.tally.errors, 1U) << cut;
    EXPECT_EQ(outcome.tally.entries, 2U) << cut;
    EXPECT_EQ(outcome.tally.Result(), vtclass::joblog::Outcome::kErrors) << cut;
  }
}

TEST(JobLogReader, Next_HeaderAtEveryPlaceOfTheBuffer_IsFound) {
  const std::string second = Wide(kUtf16Head + "<note>b</note></joblog>");
  for (std::size_t shift = 0; shift < 64; ++shift) {
    const std::size_t padding = std::size_t{128} * 1024 - WideLog("<note>").size() - 48 + shift;
    const std::string first = WideLog("<note>") + std::string(padding, 'x');
    EXPECT_EQ(Read(first + second).tally.documents, 2U) << shift;
  }
}

TEST(JobLogReader, Next_Positions_CountBytesLinesAndUnits) {
  const Outcome wide = Read(WideLog("\r\n<note>a</note>\r\n  <note>b</note></set></joblog>"));
  const Event& b = wide.events[2];
  EXPECT_EQ(b.text, "b");
  EXPECT_EQ(b.at.line, 4U);
  EXPECT_EQ(b.at.column, 3U);
  EXPECT_EQ(b.at.offset, 2 + 2 * (kUtf16Head.size() + 2 + 14 + 2 + 2));
  const Event& damage = wide.events[3];
  EXPECT_EQ(damage.kind, EventKind::kDamage);
  EXPECT_EQ(damage.at.offset, b.at.offset + 28);
}

TEST(JobLogReader, Next_NoJobLog_IsRefusedWithTheReasonAndThePlace) {
  const struct {
    std::string bytes;
    const char* reason;
    std::uint64_t offset;
  } cases[] = {
      {"", "the file is empty", 0},
      {"hello, world", "it holds neither the header nor any tag of a job log", 0},
      {std::string(5000, '\0'), "it holds neither the header nor any tag of a job log", 0},
      {"<html><body>a < b</body></html>", "it holds neither the header nor any tag of a job log",
       0},
      {"<?xml version=\"1.0\"?>\n<project/>", "after the XML header comes <project>, not <joblog>",
       22},
      {"<?xml version=\"1.0\"?> text", "after the XML header comes text, not <joblog>", 21},
      {"\xFF\xFE" + Wide("<?xml version=\"1.0\"?><a_b>"),
       "after the XML header comes <a_b>, not <joblog>", 44},
  };
  for (const auto& c : cases) {
    const Outcome outcome = Read(c.bytes);
    ASSERT_TRUE(outcome.refused) << c.bytes.substr(0, 40);
    EXPECT_EQ(outcome.refused->reason, c.reason);
    EXPECT_EQ(outcome.refused->at.offset, c.offset);
    EXPECT_TRUE(outcome.events.empty());
  }
}

std::string Repeated(const std::string& text, std::size_t count) {
  std::string all;
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

// Work that grew with the square of these sizes would run into the time limit of the tests.
TEST(JobLogReader, Next_HostileNests_StayCheap) {
  const std::size_t n = 300'000;
  EXPECT_EQ(
      Read(kAnsiHead + Repeated("<a>", 100'000) + "x" + Repeated("</a>", 100'000) + "</joblog>")
          .lines,
      (Lines{"0 entry a x"}));
  const Outcome deep = Read(kAnsiHead + Repeated("<a>", n) + "</joblog>");
  EXPECT_EQ(deep.tally.damages, n - kMaxDepth + 1);
  EXPECT_EQ(Read(kAnsiHead + Repeated("<a><b>", 100'000) + Repeated("</c>", n)).tally.damages, n);
  EXPECT_FALSE(
      Read(kAnsiHead + Repeated("<", n) + Repeated("&", n) + Repeated("<a b=\"", n)).refused);
  std::string folders, path = "C:";
  for (int i = 0; i < 2000; ++i) {
    folders += "<d><directory_name>" + (path += "\\x") + "</directory_name>";
  }
  EXPECT_EQ(Read(kAnsiHead + folders).tally.folders, 2000U);
}

TEST(JobLogReader, Next_LongText_ComesInPiecesThatCountOnce) {
  const Outcome outcome = Read(kAnsiHead + "<Warning Type=\"t\">" +
                               std::string(3 * kMaxTextUnits, 'x') + "</Warning></joblog>");
  std::size_t size = 0;
  for (const Event& event : outcome.events) {
    if (event.kind == EventKind::kEntry) size += event.text.size();
  }
  EXPECT_EQ(size, 3 * kMaxTextUnits);
  EXPECT_EQ(outcome.tally.warnings, 1U);
}

}  // namespace
}  // namespace vtclass::joblog
