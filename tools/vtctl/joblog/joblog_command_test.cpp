// vtctl joblog show as a script runs it: files of the real writer, exit codes, outputs.
#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <winternl.h>

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/support/eventually.h"
#include "tests/support/import_hook.h"
#include "tests/support/run_vtctl.h"
#include "tests/support/scratch_folder.h"
#include "tools/vtctl/joblog/joblog_files.h"
#include "tools/vtctl/shared/exit_code.h"
#include "vtclass/log.h"

namespace vtctl {
namespace {

using test::VtctlRun;
using vtclass::test::Eventually;
using vtclass::test::FileBytes;
using vtclass::test::ImportHook;
using vtclass::test::MakeFile;
using vtclass::test::ScratchFolder;
using Words = std::vector<std::wstring>;
using Json = nlohmann::json;

constexpr long kAccessDenied = static_cast<long>(0xE0008488);

std::vector<Json> Lines(const std::string& output) {
  std::vector<Json> lines;
  for (std::size_t at = 0, end; (end = output.find('\n', at)) != std::string::npos; at = end + 1) {
    lines.push_back(Json::parse(output.substr(at, end - at)));
  }
  return lines;
}

class JobLogCommand : public testing::Test {
 protected:
  Words Show(Words more = {}) const { return ShowOf({path}, std::move(more)); }
  static Words ShowOf(const Words& files, Words more = {}) {
    Words words = {L"joblog", L"show"};
    words.insert(words.end(), files.begin(), files.end());
    words.insert(words.end(), more.begin(), more.end());
    return words;
  }

  // Writes a log with two folders, and a warning or an error with an identifier.
  void Write(int unicode, int openMode, const wchar_t* tag) {
    StringResourceMgr messages;
    LogFile log(messages, unicode, -1, -1);
    ASSERT_NE(log.Open(openMode, path.c_str()), 0);
    for (const wchar_t* folder : {L"C:\\A", L"C:\\A\\B & C"}) {
      log.printTMP(-1, L"<d>");
      log.printTMP(-1, L"<directory_name>", L"%ls", folder);
    }
    if (tag) log.printerrorUMI(-1, kAccessDenied, tag, L"%ls", L"<no> \"access\"\n");
    log.printTMP(-1, L"</d></d>");
    log.Close();
  }

  ScratchFolder scratch;
  std::wstring path = scratch / L"job.xml";
};

TEST_F(JobLogCommand, Show_LogsOfTheWriter_GiveTheWorstSeverity) {
  const struct {
    const wchar_t* tag;
    int exitCode;
  } cases[] = {{nullptr, kExitClean},
               {L"<Warning Type=\"access_denied\">", kExitWarnings},
               {L"<OperationErrors Type=\"access_denied\">", kExitErrors}};
  for (const int unicode : {0, 1}) {
    for (const auto& c : cases) {
      Write(unicode, 0, c.tag);
      VtctlRun run(Show());
      EXPECT_EQ(run.ExitCode(), c.exitCode) << run.ErrorOutput();
      EXPECT_NE(run.Output().find("\n  C:\\A\\B & C\n"), std::string::npos) << run.Output();
      const bool hasMessage =
          run.Output().find("Q-79-57344-33928: <no> \"access\"\n") != std::string::npos;
      EXPECT_EQ(hasMessage, c.tag != nullptr) << run.Output();
    }
  }
}

TEST_F(JobLogCommand, Show_CutOffAppendedAndFiltered_GiveTheirExitCodes) {
  Write(1, 0, L"<Warning Type=\"access_denied\">");
  const std::string whole = FileBytes(path);
  EXPECT_EQ(VtctlRun(Show({L"--code", L"q-79-57344-33928"})).ExitCode(), kExitWarnings);
  EXPECT_EQ(VtctlRun(Show({L"--code", L"Q-79-1-2"})).ExitCode(), kExitClean);
  const Words codesFirst = {L"joblog",           L"show", L"--code", L"Q-79-1-2", L"--code",
                            L"Q-79-57344-33928", path};
  EXPECT_EQ(VtctlRun(codesFirst).ExitCode(), kExitWarnings);
  EXPECT_EQ(VtctlRun(Show({L"--code", L"access"})).ExitCode(), kExitUsage);
  MakeFile(path, whole.substr(0, whole.size() - 5));
  EXPECT_EQ(VtctlRun(Show({L"--code", L"Q-79-1-2"})).ExitCode(), kExitErrors);
  Write(1, 1, nullptr);
  VtctlRun appended(Show());
  EXPECT_EQ(appended.ExitCode(), kExitWarnings);
  EXPECT_NE(appended.Output().find("Job log 2 (UTF-16, version 2.0)"), std::string::npos);
}

TEST_F(JobLogCommand, Show_UnusableFiles_AreRefusedInOneSentence) {
  EXPECT_EQ(VtctlRun(Show()).ExitCode(), kExitNoInput);
  MakeFile(path, "<?xml version=\"1.0\"?>\n<project/>");
  VtctlRun other(Show());
  EXPECT_EQ(other.ExitCode(), kExitBadInput);
  EXPECT_NE(other.ErrorOutput().find("line 2, column 1 (byte 22)"), std::string::npos);
  EXPECT_EQ(other.Output(), "");
  VtctlRun overwrite(Show({L"--html", path}));
  EXPECT_EQ(overwrite.ExitCode(), kExitUsage);
  EXPECT_EQ(VtctlRun(Show({L"--html", scratch / L"no\\page.html"})).ExitCode(), kExitBadInput);
  Write(1, 0, nullptr);
  EXPECT_EQ(VtctlRun(Show({L"--html", scratch / L"no\\page.html"})).ExitCode(), kExitCannotWrite);
}

TEST_F(JobLogCommand, Show_JsonAndPage_ComeFromOneRun) {
  Write(1, 0, L"<OperationErrors Type=\"access_denied\">");
  const std::wstring page = scratch / L"page.html";
  VtctlRun run(Show({L"--json", L"--html", page}));
  EXPECT_EQ(run.ExitCode(), kExitErrors);
  const std::vector<Json> lines = Lines(run.Output());
  ASSERT_EQ(lines.size(), 6U);
  EXPECT_EQ(lines[0]["file"], "job.xml");
  EXPECT_EQ(lines[3]["path"], "C:\\A\\B & C");
  EXPECT_TRUE(lines[3].at("status").is_null());
  EXPECT_EQ(lines[3]["text"], "<no> \"access\"");
  EXPECT_EQ(lines[3]["depth"], 2);
  EXPECT_EQ(lines[5]["kind"], "summary");
  EXPECT_EQ(lines[5]["errors"], 1);
  EXPECT_EQ(lines[5]["verdict"], "errors");
  EXPECT_NE(FileBytes(page).find(R"(["e2","\u003cno> \"access\"","Q-79-57344-33928")"),
            std::string::npos);
}

Json LastLine(const std::string& output) {
  const std::vector<Json> lines = Lines(output);
  EXPECT_FALSE(lines.empty());
  return lines.empty() ? Json::object() : lines.back();
}

std::string VtctlRunText(const Words& words) {
  VtctlRun run(words);
  run.ExitCode();
  return run.Output();
}

// A log of the given body, in ANSI.
std::string Bytes(const std::string& body) {
  return "<?xml version=\"1.0\" encoding=\"windows-1252\"?>\r\n<joblog><job_log_version "
         "version=\"2.0\"/>" +
         body;
}

std::string Problem(const char* element, const char* text) {
  const std::string name(element);
  return "<" + name + " Type=\"access_denied\"><UMI>Q-79-1-2</UMI> - " + text + "</" + name + ">";
}

TEST_F(JobLogCommand, Show_Filters_LeaveOutAndSaySo) {
  MakeFile(path, Bytes("<job_started>2025-01-31 22:00:00</job_started>"
                       "<directory_name>Ordner C:\\\xC4</directory_name>" +
                       Problem("Warning", "w") + "<directory_name>C:\\B</directory_name>" +
                       Problem("OperationErrors", "e") + "</joblog>"));
  const struct {
    Words words;
    int exitCode;
    const char* shown;
    const char* missing;
    int leftOut;
  } rows[] = {
      {{L"--severity", L"warning"}, kExitErrors, "Q-79-1-2: w", "22:00:00", 1},
      {{L"--severity", L"error"}, kExitErrors, "Q-79-1-2: e", ": w", 2},
      {{L"--under", L"c:/\xE4\\"}, kExitWarnings, "Q-79-1-2: w", ": e", 2},
      {{L"--since", L"2025-01-31"}, kExitErrors, "Q-79-1-2: w", "left out", 0},
      {{L"--until", L"2025-01-31T22:00"}, kExitErrors, "Q-79-1-2: w", "left out", 0},
      {{L"--since", L"2025-02-01"}, kExitClean, "Job logs          0", "Q-79", 3},
      {{L"--until", L"2025-01-30"}, kExitClean, "Job logs          0", "Q-79", 3},
  };
  for (const auto& row : rows) {
    VtctlRun run(Show(row.words));
    EXPECT_EQ(run.ExitCode(), row.exitCode) << run.ErrorOutput();
    EXPECT_NE(run.Output().find(row.shown), std::string::npos) << run.Output();
    EXPECT_EQ(run.Output().find(row.missing), std::string::npos) << run.Output();
    Words words = row.words;
    words.emplace_back(L"--json");
    VtctlRun json(Show(words));
    EXPECT_EQ(json.ExitCode(), row.exitCode);
    EXPECT_EQ(LastLine(json.Output())["entriesLeftOut"], row.leftOut);
  }
}

TEST_F(JobLogCommand, Show_WrongWords_AreRefusedInJsonToo) {
  Write(1, 0, nullptr);
  const std::wstring folder = scratch.Path();
  const struct {
    Words words;
    int exitCode;
    const char* sentence;
  } rows[] = {
      {Show({L"--since", L"tomorrow"}), kExitUsage, "is no time"},
      {Show({L"--until", L""}), kExitUsage, "is no time"},
      {Show({L"--under", L"\\"}), kExitUsage, "is no folder"},
      {Show({L"--under", L""}), kExitUsage, "is no folder"},
      {Show({L"--html", L""}), kExitUsage, "--html is empty"},
      {Show({L"--csv", L"--summary"}), kExitUsage, "--csv goes neither"},
      {Show({L"--diff"}), kExitUsage, "--diff compares two logs"},
      {Show({L"--diff", L"--csv", path}), kExitUsage, "--diff goes with none"},
      {Show({L"--diff", L"--latest", path}), kExitUsage, "does not go with --latest"},
      {Show({L"--follow", L"--summary"}), kExitUsage, "--follow goes neither"},
      {Show({L"--follow", path}), kExitUsage, "follows one file"},
      {ShowOf({L"-"}, {L"--follow"}), kExitUsage, "follows one file"},
      {Show({L"--for", L"5"}), kExitUsage, "--for goes with"},
      {ShowOf({folder}), kExitNoInput, "--latest shows its newest"},
      {ShowOf({L"-"}, {L"--latest"}), kExitUsage, "standard input"},
      {ShowOf({folder + L"\\*.log"}), kExitNoInput, "stands for no file"},
      {ShowOf({folder + L"*\\job.xml"}), kExitUsage, "wildcard in a folder"},
      {ShowOf({folder + L"\\no.xml"}), kExitNoInput, "cannot be opened"},
  };
  for (const auto& row : rows) {
    Words words = row.words;
    if (!std::ranges::count(words, L"--csv")) words.emplace_back(L"--json");
    VtctlRun run(words);
    EXPECT_EQ(run.ExitCode(), row.exitCode) << row.sentence;
    EXPECT_NE(run.ErrorOutput().find(row.sentence), std::string::npos) << run.ErrorOutput();
    if (words.back() != L"--json") continue;
    Json failure = LastLine(run.Output());
    EXPECT_EQ(failure["command"], "joblog show");
    EXPECT_EQ(failure["exitCode"], row.exitCode);
    EXPECT_NE(failure["error"].dump().find(row.sentence), std::string::npos);
  }
  Json failure = LastLine(VtctlRunText(ShowOf({folder + L"\\no.xml"}, {L"--json"})));
  EXPECT_EQ(failure["status"], int{ERROR_FILE_NOT_FOUND});
}

// Files by name, the newest, a pipe: each log tells what it is, and the exit code is the worst one.
TEST_F(JobLogCommand, Show_SeveralLogs_AreShownOneAfterTheOther) {
  const std::wstring first = scratch / L"a.xml", second = scratch / L"b.xml";
  MakeFile(second, Bytes("<note>two</note></joblog>"));
  MakeFile(first, Bytes(Problem("Warning", "one") + "</joblog>"));
  MakeFile(scratch / L"c.txt", "none");
  const std::wstring pattern = scratch / L"*.xml";
  const struct {
    Words files;
    const char* documents;
    int exitCode;
  } rows[] = {{{pattern}, "a.xml 1, b.xml 2, ", kExitWarnings},
              {{second, first}, "b.xml 1, a.xml 2, ", kExitWarnings},
              {{scratch / L"?.xml", second}, "a.xml 1, b.xml 2, b.xml 3, ", kExitWarnings},
              {{first, scratch / L"c.txt", second}, "a.xml 1, b.xml 2, ", kExitBadInput},
              {{scratch / L"no.xml", second}, "b.xml 1, ", kExitNoInput}};
  for (const auto& row : rows) {
    VtctlRun run(ShowOf(row.files, {L"--json"}));
    EXPECT_EQ(run.ExitCode(), row.exitCode);
    std::string documents;
    for (const Json& line : Lines(run.Output())) {
      if (line.value("kind", "") != "document") continue;
      documents += line["file"].get<std::string>() + " " + line["document"].dump() + ", ";
    }
    EXPECT_EQ(documents, row.documents);
  }
  VtctlRun text(ShowOf({pattern}, {L"--summary"}));
  EXPECT_EQ(text.ExitCode(), kExitWarnings);
  EXPECT_NE(text.Output().find("a.xml\n1 warning.\n"), std::string::npos) << text.Output();
  EXPECT_NE(text.Output().find("b.xml\nNo errors and no warnings.\n"), std::string::npos);
  const std::wstring page = scratch / L"page.html";
  EXPECT_EQ(VtctlRun(ShowOf({pattern}, {L"--html", page})).ExitCode(), kExitWarnings);
  EXPECT_NE(FileBytes(page).find("<h1>2 job logs</h1>\n<p class=\"verdict warning\">1 warning"),
            std::string::npos);
  EXPECT_EQ(VtctlRun(ShowOf({pattern}, {L"--html", second})).ExitCode(), kExitUsage);
}

void SetLastWrite(const std::wstring& path, DWORD day) {
  const HANDLE file = ::CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
  const FILETIME time = {0, 31'000'000 + day};
  EXPECT_TRUE(::SetFileTime(file, nullptr, nullptr, &time));
  ::CloseHandle(file);
}

TEST_F(JobLogCommand, Show_Latest_IsTheOneWrittenLast) {
  const wchar_t* names[] = {L"a.xml", L"b.xml", L"c.xml", L"d.log"};
  for (DWORD newest = 0; newest < 3; ++newest) {
    for (DWORD i = 0; i < std::size(names); ++i) {
      MakeFile(scratch / names[i], Bytes("<note>x</note></joblog>"));
      SetLastWrite(scratch / names[i], i == newest ? 1000 : i);
    }
    const std::string wanted = "\"file\":\"" + std::string(1, static_cast<char>('a' + newest));
    for (const Words& files :
         {Words{scratch.Path()}, Words{scratch / L"*.xml"}, Words{scratch.Path() + L"\\"},
          Words{scratch / L"a.xml", scratch / L"b.xml", scratch / L"c.xml"}}) {
      const std::string output = VtctlRunText(ShowOf(files, {L"--latest", L"--json"}));
      EXPECT_NE(output.find(wanted), std::string::npos) << output;
    }
  }
  // The newest cannot be read: an older one says nothing of it.
  const vtclass::platform::OwnedFile held(::CreateFileW((scratch / L"c.xml").c_str(), GENERIC_READ,
                                                        0, nullptr, OPEN_EXISTING, 0, nullptr));
  EXPECT_EQ(VtctlRun(ShowOf({scratch.Path()}, {L"--latest"})).ExitCode(), kExitNoInput);
  EXPECT_EQ(VtctlRun(ShowOf({scratch / L"a.xml", scratch / L"none"}, {L"--latest"})).ExitCode(),
            kExitNoInput);
}

TEST_F(JobLogCommand, Show_StandardInput_IsALogLikeAnother) {
  VtctlRun run(ShowOf({L"-"}, {L"--json"}), Bytes(Problem("Warning", "no") + "</joblog>"));
  EXPECT_EQ(run.ExitCode(), kExitWarnings) << run.ErrorOutput();
  EXPECT_EQ(LastLine(run.Output())["jobs"][0]["file"], "standard input");
  VtctlRun none(ShowOf({L"-"}), "text");
  EXPECT_EQ(none.ExitCode(), kExitBadInput);
}

TEST_F(JobLogCommand, Show_Csv_IsATableOfTheEntries) {
  MakeFile(path,
           Bytes("<directory_name>C:\\A</directory_name>" + Problem("Warning", "a, b") + "</x>"));
  VtctlRun run(Show({L"--csv"}));
  EXPECT_EQ(run.ExitCode(), kExitErrors);
  EXPECT_EQ(run.Output(),
            "file,document,line,column,offset,severity,code,path,status,time,element,type,detail,"
            "text,continued\r\njob.xml,1,2,78,124,warning,Q-79-1-2,C:\\A,,,Warning,access_denied,,"
            "\"a, b\",false\r\n");
  EXPECT_NE(run.ErrorOutput().find("1 place of the log damaged"), std::string::npos);
  EXPECT_NE(run.ErrorOutput().find("The log is cut off"), std::string::npos);
}

TEST_F(JobLogCommand, Show_Diff_TellsWhatIsNewAndWhatIsGone) {
  const std::wstring now = scratch / L"now.xml";
  const std::string warning = Problem("Warning", "w"), error = Problem("OperationErrors", "e");
  const struct {
    std::string before, now;
    int exitCode;
    int gone, fresh, same;
  } rows[] = {{warning + error, warning, kExitClean, 1, 0, 1},
              {warning, warning + error, kExitErrors, 0, 1, 1},
              {error, warning, kExitWarnings, 1, 1, 0},
              {"", "", kExitClean, 0, 0, 0}};
  for (const auto& row : rows) {
    MakeFile(path, Bytes(row.before + "</joblog>"));
    MakeFile(now, Bytes(row.now + "</joblog>"));
    VtctlRun run(Show({L"--diff", now, L"--json"}));
    EXPECT_EQ(run.ExitCode(), row.exitCode) << run.ErrorOutput();
    Json last = LastLine(run.Output());
    EXPECT_EQ(last["gone"], row.gone);
    EXPECT_EQ(last["new"], row.fresh);
    EXPECT_EQ(last["same"], row.same);
  }
  MakeFile(now, Bytes(""));
  VtctlRun cut(Show({L"--diff", now}));
  EXPECT_EQ(cut.ExitCode(), kExitErrors);
  EXPECT_NE(cut.Output().find("The newer log is not whole"), std::string::npos) << cut.Output();
  EXPECT_EQ(VtctlRun(Show({L"--diff", scratch / L"no.xml"})).ExitCode(), kExitNoInput);
}

bool Shows(const VtctlRun& run, const char* text) {
  return Eventually([&] { return run.Output().find(text) != std::string::npos; });
}

// A job writes, pauses in the middle of an entry, and ends.
TEST_F(JobLogCommand, Show_Follow_TellsEachEntryOnceAndEndsWithTheJob) {
  StringResourceMgr messages;
  LogFile log(messages, 1, -1, -1);
  ASSERT_NE(log.Open(0, path.c_str()), 0);
  VtctlRun run(Show({L"--follow"}));
  log.printTMP(-1, L"<note>", L"%ls", L"first");
  EXPECT_TRUE(Shows(run, "first\n"));
  log.printTMP(-1, L"<a_b>");
  log.printTMPDataWithoutXMLTags(-1, L"%ls", L"half");
  log.printTMP(-1, L"</a_b><note>");
  EXPECT_TRUE(Shows(run, "half\n"));
  log.printTMPDataWithoutXMLTags(-1, L"%ls", L"second");
  EXPECT_TRUE(run.IsRunning());
  log.printTMP(-1, L"</note>");
  log.Close();
  EXPECT_EQ(run.ExitCode(), kExitClean) << run.ErrorOutput();
  const std::string text = run.Output();
  for (const char* once : {"first", "half", "second", "Job log 1", "Summary"}) {
    EXPECT_EQ(text.find(once), text.rfind(once)) << text;
    EXPECT_NE(text.find(once), std::string::npos) << text;
  }
  EXPECT_EQ(text.find("ut off"), std::string::npos) << text;
}

// While somebody reads it.
void Overwrite(const std::wstring& path, const std::string& bytes) {
  const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    TRUNCATE_EXISTING, 0, nullptr);
  DWORD written = 0;
  EXPECT_TRUE(::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
  ::CloseHandle(file);
}

TEST_F(JobLogCommand, Show_FollowOfALogThatShrinksOrStalls_SaysSo) {
  MakeFile(path, Bytes("<note>a long first entry</note><note>x"));
  VtctlRun run(Show({L"--follow", L"--for", L"2"}));
  EXPECT_TRUE(Shows(run, "first entry\n"));
  Overwrite(path, Bytes("<note>y"));
  EXPECT_EQ(run.ExitCode(), kExitErrors);
  EXPECT_NE(run.ErrorOutput().find("does not go on as it was"), std::string::npos);
  EXPECT_NE(run.Output().find("cut off at"), std::string::npos) << run.Output();
}

TEST_F(JobLogCommand, Show_FollowOfAnotherLogUnderTheName_TellsItWhole) {
  const std::string error = Problem("OperationErrors", "lost") + "</joblog>";
  for (const std::string& another : {error, std::string(9000, ' ') + error}) {
    MakeFile(path, Bytes("<note>a first entry</note><note>b</note><note>c</note><note>x"));
    VtctlRun run(Show({L"--follow", L"--for", L"20"}));
    EXPECT_TRUE(Shows(run, "first entry\n"));
    Overwrite(path, Bytes(another));
    EXPECT_EQ(run.ExitCode(), kExitErrors);
    EXPECT_NE(run.Output().find("lost"), std::string::npos) << run.Output();
  }
  Overwrite(path, "");
  VtctlRun none(Show({L"--follow", L"--for", L"1"}));
  EXPECT_EQ(none.ExitCode(), kExitBadInput) << none.Output();
}

// Under Wine the system cannot tell who else has a file open, and the sentence says no more.
TEST_F(JobLogCommand, Show_LogThatIsBeingWritten_SaysSo) {
  StringResourceMgr messages;
  LogFile log(messages, 1, -1, -1);
  ASSERT_NE(log.Open(0, path.c_str()), 0);
  log.printTMP(-1, L"<note>", L"%ls", L"first");
  VtctlRun run(Show());
  EXPECT_EQ(run.ExitCode(), kExitErrors);
  EXPECT_NE(run.Output().find("may still be running"), std::string::npos) << run.Output();
  log.Close();
}

// The hooked calls are this program's own, so the replacements know the real ones from before.
auto* const createFile = &::CreateFileW;
auto* const moveFile = &::MoveFileExW;
auto* const writeFile = &::WriteFile;

std::wstring agentsLog;
int refusals;

bool AgentGetsIn() {
  StringResourceMgr messages;
  LogFile log(messages, 1, -1, -1);
  return log.Open(1, agentsLog.c_str()) == 1;
}

HANDLE WINAPI OpenWithAnAgentBeside(LPCWSTR name, DWORD access, DWORD share,
                                    LPSECURITY_ATTRIBUTES security, DWORD how, DWORD flags,
                                    HANDLE like) {
  const HANDLE file = createFile(name, access, share, security, how, flags, like);
  refusals += !AgentGetsIn();
  return file;
}

// At whatever moment an agent opens its log, a reader must not keep it out.
TEST_F(JobLogCommand, Reader_ShutsNoWriterOut) {
  Write(1, 0, nullptr);
  agentsLog = path;
  refusals = 0;
  LogInput input;
  {
    const ImportHook<decltype(::CreateFileW)> hook(
        "KERNEL32.dll", "CreateFileW", &OpenWithAnAgentBeside, ::GetModuleHandleW(nullptr));
    EXPECT_EQ(input.Open(Path(path)), 0u);
    EXPECT_TRUE(input.IsSameFile(Path(path)));
  }
  EXPECT_EQ(refusals, 0);
  EXPECT_TRUE(AgentGetsIn());
}

TEST_F(JobLogCommand, Reader_TellsWhyItCannotReadOn) {
  Write(1, 0, nullptr);
  LogInput input;
  ASSERT_EQ(input.Open(Path(path)), 0u);
  char bytes[16];
  EXPECT_EQ(input.Read(bytes, sizeof bytes), sizeof bytes);
  EXPECT_EQ(input.Error(), 0u);
  const ImportHook<decltype(::ReadFile)> hook(
      "KERNEL32.dll", "ReadFile", [](auto...) { return ::SetLastError(ERROR_CRC), FALSE; },
      ::GetModuleHandleW(nullptr));
  EXPECT_EQ(input.Read(bytes, sizeof bytes), 0u);
  EXPECT_EQ(input.Error(), DWORD{ERROR_CRC});
}

NTSTATUS userAnswer;
std::vector<ULONG_PTR> users;

NTSTATUS NTAPI NameUsers(HANDLE, PIO_STATUS_BLOCK, PVOID out, ULONG size,
                         FILE_INFORMATION_CLASS kind) {
  EXPECT_EQ(static_cast<int>(kind), 47);
  auto* const words = static_cast<ULONG_PTR*>(out);
  EXPECT_GT(size, users.size() * sizeof(ULONG_PTR));
  *words = users.size();
  std::copy(users.begin(), users.end(), words + 1);
  return userAnswer;
}

TEST_F(JobLogCommand, Reader_AsksWhoElseHasTheLog) {
  Write(1, 0, nullptr);
  const ULONG_PTR self = ::GetCurrentProcessId();
  const struct {
    long answer;
    std::vector<ULONG_PTR> users;
    std::optional<bool> open;
  } rows[] = {{0, {self}, false},
              {0, {self, self + 4}, true},
              {0, {}, false},
              {static_cast<long>(0xC0000004), {}, true},  // more than there is room for
              {static_cast<long>(0xC0000003), {self + 4}, std::nullopt}};
  const ImportHook<decltype(::NtQueryInformationFile)> hook(
      "ntdll.dll", "NtQueryInformationFile", &NameUsers, ::GetModuleHandleW(nullptr));
  for (const auto& row : rows) {
    userAnswer = row.answer;
    users = row.users;
    LogInput input;
    EXPECT_EQ(input.Open(Path(path)), 0u);
    EXPECT_EQ(input.IsOpenElsewhere(), row.open) << row.answer;
  }
}

std::vector<std::wstring> created;
DWORD moveFailure;
DWORD writeFailure;

HANDLE WINAPI FirstNameIsTaken(LPCWSTR name, DWORD access, DWORD share,
                               LPSECURITY_ATTRIBUTES security, DWORD how, DWORD flags,
                               HANDLE like) {
  EXPECT_EQ(how, DWORD{CREATE_NEW});
  created.emplace_back(name);
  if (created.size() > 1) return createFile(name, access, share, security, how, flags, like);
  ::SetLastError(ERROR_FILE_EXISTS);
  return INVALID_HANDLE_VALUE;
}

BOOL WINAPI Move(LPCWSTR from, LPCWSTR to, DWORD flags) {
  ::SetLastError(moveFailure);
  return moveFailure == 0 && moveFile(from, to, flags);
}

BOOL WINAPI WriteAPart(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED how) {
  if (writeFailure == 0 || size > 10) {
    return writeFile(file, bytes, std::min(size, DWORD{5}), written, how);
  }
  *written = 0;
  ::SetLastError(writeFailure);
  return FALSE;
}

DWORD WriteHooked(const std::wstring& path, std::string_view bytes) {
  const HMODULE self = ::GetModuleHandleW(nullptr);
  const ImportHook<decltype(::CreateFileW)> create("KERNEL32.dll", "CreateFileW", &FirstNameIsTaken,
                                                   self);
  const ImportHook<decltype(::MoveFileExW)> move("KERNEL32.dll", "MoveFileExW", &Move, self);
  const ImportHook<decltype(::WriteFile)> write("KERNEL32.dll", "WriteFile", &WriteAPart, self);
  return WriteWholeFile(Path(path), bytes);
}

// A page goes through a new file of a name that nobody can foresee, and nothing of it stays.
TEST_F(JobLogCommand, Page_IsThereWholeOrNotAtAll) {
  const std::wstring page = scratch / L"page.html";
  const struct {
    DWORD move, write;
  } rows[] = {{0, 0}, {ERROR_ACCESS_DENIED, 0}, {0, ERROR_DISK_FULL}};
  std::set<std::wstring> names;
  for (const auto& row : rows) {
    const DWORD failure = row.move + row.write;
    created.clear();
    MakeFile(page, "before");
    moveFailure = row.move;
    writeFailure = row.write;
    EXPECT_EQ(WriteHooked(page, "a page of more bytes"), failure);
    EXPECT_EQ(FileBytes(page), failure != 0 ? "before" : "a page of more bytes");
    ASSERT_EQ(created.size(), 2u);
    EXPECT_TRUE(created[1].starts_with(Path(page).System() + L".")) << "not beside the page";
    EXPECT_EQ(::GetFileAttributesW(created[1].c_str()), INVALID_FILE_ATTRIBUTES);
    names.insert(created.begin(), created.end());
  }
  EXPECT_EQ(names.size(), 2 * std::size(rows)) << "a name came twice";
}

TEST(WriteWholeFile, Failure_LeavesTheOldFileAndNothingElse) {
  const ScratchFolder folder;
  const std::wstring path = folder / L"page.html";
  EXPECT_EQ(WriteWholeFile(Path(path), "old"), ERROR_SUCCESS);
  {
    LogInput reader;
    ASSERT_EQ(reader.Open(Path(path)), ERROR_SUCCESS);
    EXPECT_TRUE(reader.IsSameFile(Path(path)));
  }
  ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  const HANDLE held =
      ::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, OPEN_EXISTING, 0, nullptr);
  LogInput reader;
  EXPECT_EQ(reader.Open(Path(path)), ERROR_SUCCESS);
  EXPECT_NE(WriteWholeFile(Path(path), "new"), ERROR_SUCCESS);
  ::CloseHandle(held);
  EXPECT_EQ(FileBytes(path), "old");
  WIN32_FIND_DATAW found = {};
  const HANDLE search = ::FindFirstFileW((folder / L"*.vtctl-*").c_str(), &found);
  EXPECT_EQ(search, INVALID_HANDLE_VALUE);
}

}  // namespace
}  // namespace vtctl
