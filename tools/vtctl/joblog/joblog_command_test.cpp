/* vtctl joblog show as a script runs it: files of the real writer, exit codes, outputs. */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/support/scratch_folder.h"
#include "tools/vtctl/command.h"
#include "tools/vtctl/run_vtctl.h"
#include "vtclass/log.h"

namespace vtctl {
namespace {

using test::VtctlRun;
using vtclass::test::FileBytes;
using vtclass::test::MakeFile;
using vtclass::test::ScratchFolder;
using Words = std::vector<std::wstring>;
using Json = nlohmann::json;

constexpr long kAccessDenied = static_cast<long>(0xE0008488);

class JobLogCommand : public testing::Test {
 protected:
  Words Show(Words more = {}) const {
    Words words = {L"joblog", L"show", path};
    words.insert(words.end(), more.begin(), more.end());
    return words;
  }

  /* Writes a log with two folders, and a warning or an error with an identifier. */
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
  std::vector<Json> lines;
  const std::string output = run.Output();
  for (std::size_t at = 0, end; (end = output.find('\n', at)) != std::string::npos; at = end + 1) {
    lines.push_back(Json::parse(output.substr(at, end - at)));
  }
  ASSERT_EQ(lines.size(), 6U);
  EXPECT_EQ(lines[3]["text"], "<no> \"access\"");
  EXPECT_EQ(lines[3]["depth"], 2);
  EXPECT_EQ(lines[5]["kind"], "summary");
  EXPECT_EQ(lines[5]["errors"], 1);
  EXPECT_NE(FileBytes(page).find("&lt;no&gt; &quot;access&quot;"), std::string::npos);
}

TEST_F(JobLogCommand, Show_LogThatIsBeingWritten_SaysSo) {
  StringResourceMgr messages;
  LogFile log(messages, 1, -1, -1);
  ASSERT_NE(log.Open(0, path.c_str()), 0);
  log.printTMP(-1, L"<note>", L"%ls", L"first");
  VtctlRun run(Show());
  EXPECT_EQ(run.ExitCode(), kExitErrors);
  EXPECT_NE(run.Output().find("the job may still be running"), std::string::npos) << run.Output();
  log.Close();
}

}  // namespace
}  // namespace vtctl
