// How checks are run, how the results read, and the command as its users run it.
#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <new>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "platform/owned.h"
#include "tests/support/child_process.h"
#include "tests/support/random_name.h"
#include "tests/support/run_vtctl.h"
#include "tools/vtctl/doctor/libraries_check.h"
#include "tools/vtctl/doctor/report.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/exit_code.h"
#include "tools/vtctl/shared/interrupt.h"
#include "tools/vtctl/shared/number_text.h"

namespace vtctl::doctor {
namespace {

using test::VtctlRun;
using vtclass::platform::OwnedKernelObject;

constexpr DWORD kLong = 60000;

HANDLE released;

void Hang(Found&) { ::WaitForSingleObject(released, INFINITE); }

// The operator presses Ctrl+C when it has found something.
void HangInterrupted(Found& found) {
  found.Add({.code = "first"});
  ::SetEvent(InterruptEvent());
  Hang(found);
}

class RunCheckTest : public testing::Test {
 protected:
  RunCheckTest() {
    static const bool isCaught = (CatchInterrupts(), true);
    EXPECT_TRUE(isCaught);
    released = event.Get();
  }
  ~RunCheckTest() override {
    ::SetEvent(released);
    ::ResetEvent(InterruptEvent());
  }

 private:
  // The check that was left behind may still wait for it.
  OwnedKernelObject& event = *new OwnedKernelObject(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
};

TEST_F(RunCheckTest, HangingCheck_IsLeftBehindAndSaysSo) {
  const CheckResult result = RunCheck({"hang", L"Hang", &Hang}, 20);
  EXPECT_EQ(result.end, WaitEnd::timeout);
  ASSERT_EQ(result.findings.size(), 1u);
  EXPECT_EQ(result.findings[0].code, std::string("check-timed-out"));
  EXPECT_EQ(result.findings[0].verdict, Verdict::problem);
  EXPECT_EQ(result.row.name, std::string("hang"));
}

TEST_F(RunCheckTest, Interrupt_EndsTheWait) {
  const CheckResult result = RunCheck({"hang", L"Hang", &HangInterrupted}, kLong);
  EXPECT_EQ(result.end, WaitEnd::interrupted);
  ASSERT_EQ(result.findings.size(), 2u);
  EXPECT_EQ(result.findings[0].code, std::string("first"));
  EXPECT_EQ(result.findings[1].code, std::string("check-interrupted"));
  EXPECT_EQ(result.findings[1].verdict, Verdict::problem);
}

TEST_F(RunCheckTest, WhatACheckThrows_IsAFinding) {
  const struct {
    Check check;
    const wchar_t* reason;
  } rows[] = {{[](Found&) { throw std::bad_alloc(); }, L"not enough memory"},
              {[](Found&) { throw std::runtime_error("x.dll is gone"); }, L"x.dll is gone"},
              {[](Found&) { throw 127ul; }, L"127"}};
  for (const auto& row : rows) {
    const CheckResult result = RunCheck({"throw", L"Throw", row.check}, kLong);
    ASSERT_EQ(result.findings.size(), 1u);
    EXPECT_EQ(result.findings[0].code, std::string("check-failed"));
    EXPECT_NE(result.findings[0].reason.find(row.reason), std::wstring::npos)
        << ToUtf8(result.findings[0].reason);
  }
  const auto two = [](Found& found) { found.Add(Findings{{}, {}}); };
  const CheckResult well = RunCheck({"ok", L"Ok", two}, kLong);
  EXPECT_EQ(well.end, WaitEnd::signalled);
  EXPECT_EQ(well.findings.size(), 2u);
}

Finding Some(Verdict verdict) {
  return {.verdict = verdict,
          .code = "some",
          .what = L"A folder with a name of several words cannot be reached by this account.",
          .reason = L"The component that keeps its debug log there writes none of its lines.",
          .remedy = L"Make the folder, or delete the value:\x1b it is stored anew.",
          .path = L"C:\\Logs",
          .status = 5};
}

CheckResult ResultOf(const std::vector<Verdict>& verdicts) {
  CheckResult result;
  result.row = {"row", L"A row", nullptr};
  result.milliseconds = 12;
  for (const Verdict verdict : verdicts) result.findings.push_back(Some(verdict));
  return result;
}

TEST(DoctorReport, ExitCode_IsThatOfTheWorst) {
  using enum Verdict;
  const struct {
    std::vector<Verdict> verdicts;
    int code;
    const wchar_t* summary;
  } rows[] = {{{}, kExitClean, L"Nothing found."},
              {{ok, note}, kExitClean, L"1 note, 1 ok."},
              {{ok, warning, note, ok}, kExitWarnings, L"1 warning, 1 note, 2 ok."},
              {{problem, warning, warning}, kExitErrors, L"1 problem, 2 warnings."}};
  for (const auto& row : rows) {
    const std::vector<CheckResult> results = {ResultOf({}), ResultOf(row.verdicts), ResultOf({})};
    EXPECT_EQ(ExitCodeOf(Worst(results)), row.code);
    EXPECT_EQ(Summary({results, {}}), row.summary);
  }
  EXPECT_EQ(Summary({{ResultOf({problem})}, {L"logs", L"clock"}}),
            L"1 problem. Interrupted: nothing, or not all, is known of logs, clock.");
}

TEST(DoctorReport, Text_KeepsToTheColumns) {
  const CheckResult result = ResultOf({Verdict::ok, Verdict::problem});
  const Header header = {L"2026-01-01T00:00:00Z", L"HOST", L"account", L"HKEY_LOCAL_MACHINE\\S"};
  for (const std::size_t columns : {40u, 80u, 120u}) {
    std::wistringstream lines(Text(header, columns) + Text(result, columns, false));
    for (std::wstring line; std::getline(lines, line);) {
      EXPECT_LT(ColumnsOf(line), columns) << ToUtf8(line);
      EXPECT_EQ(line.find(L'\x1b'), std::wstring::npos);
    }
  }
  EXPECT_EQ(Text(ResultOf({Verdict::warning}), 60, false),
            L"A row\n"
            L"  warning  A folder with a name of several words cannot be\n"
            L"           reached by this account.\n"
            L"           Why: The component that keeps its debug log\n"
            L"                there writes none of its lines.\n"
            L"           Do:  Make the folder, or delete the value:\xFFFD it\n"
            L"                is stored anew.\n");
  EXPECT_TRUE(Text(result, 59, false).starts_with(L"A row\n  ok  A folder with"));
  EXPECT_NE(Text(result, 80, true).find(L"  \x1b[31mPROBLEM\x1b[0m  A"), std::wstring::npos);
}

TEST(DoctorReport, Json_HasTheSameMembersInEachCase) {
  CheckResult result = ResultOf({Verdict::warning});
  result.findings.push_back({.code = "well", .what = L"Well."});
  const Header header = {L"T", L"HOST", L"", L"R"};
  const Json json = ToJson(header, {{result}, {}});
  EXPECT_EQ(ToJson(header, {{result}, {L"row", L"logs"}})["interrupted"].dump(),
            R"(["row","logs"])");
  EXPECT_EQ(
      json.dump(),
      R"({"time":"T","computer":"HOST","account":null,"key":"R","severity":"warning",)"
      R"("interrupted":[],"checks":[{"check":"row","severity":"warning","milliseconds":12,"findings":[)" +
          json["checks"][0]["findings"][0].dump() +
          R"(,{"severity":"ok","code":"well","text":"Well.","reason":null,"remedy":null,)"
          R"("path":null,"status":null}]}]})");
  const Json& finding = json["checks"][0]["findings"][0];
  EXPECT_EQ(finding["severity"], "warning");
  EXPECT_EQ(finding["path"], "C:\\Logs");
  EXPECT_EQ(finding["status"], 5);
}

TEST(DoctorCommand, Json_TellsEachCheckAndTheWorst) {
  VtctlRun run({L"doctor", L"--json"});
  const int code = run.ExitCode();
  const Json json = Json::parse(run.Output());
  ASSERT_EQ(json["checks"].size(), std::size(kChecks)) << run.Output();
  int worst = kExitClean;
  for (std::size_t i = 0; i < std::size(kChecks); ++i) {
    const Json& check = json["checks"][i];
    EXPECT_EQ(check["check"], kChecks[i].name);
    EXPECT_GE(check["findings"].size(), 1u) << kChecks[i].name;
    for (const Json& finding : check["findings"]) {
      EXPECT_NE(finding["code"], "check-failed") << finding;
      if (finding["severity"] == "problem") worst = kExitErrors;
      if (finding["severity"] == "warning") worst = std::max<int>(worst, kExitWarnings);
    }
  }
  EXPECT_EQ(code, worst);
  EXPECT_TRUE(std::regex_match(json["time"].get<std::string>(),
                               std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ)")));
}

TEST(DoctorCommand, Only_AsksForSomeInTheOrderOfTheTable) {
  VtctlRun run({L"doctor", L"--only", L"clock,values"});
  run.ExitCode();
  EXPECT_NE(run.Output().find("\nRegistry values\n"), std::string::npos) << run.Output();
  EXPECT_NE(run.Output().find("\nClock and time zone\n"), std::string::npos);
  EXPECT_EQ(run.Output().find("\nIdentity\n"), std::string::npos);
  EXPECT_LT(run.Output().find("Registry"), run.Output().find("Clock"));
  for (const wchar_t* const names : {L"", L"bogus", L"values,", L"values,bogus", L"Values"}) {
    VtctlRun wrong({L"doctor", L"--only", names});
    EXPECT_EQ(wrong.ExitCode(), kExitUsage) << ToUtf8(names);
    EXPECT_NE(wrong.ErrorOutput().find("is no check. There are keys, values,"), std::string::npos);
  }
}

// vtctl in a folder beside this program, with some of the product's libraries.
class PartialInstallation {
 public:
  explicit PartialInstallation(const std::vector<std::wstring>& names) : names(names) {
    ::CreateDirectoryW((beside + folder).c_str(), nullptr);
    for (const std::wstring& name : names) {
      EXPECT_TRUE(::CopyFileW((beside + name).c_str(), (beside + folder + name).c_str(), TRUE));
    }
  }
  ~PartialInstallation() {
    for (const std::wstring& name : names) ::DeleteFileW((beside + folder + name).c_str());
    EXPECT_TRUE(::RemoveDirectoryW((beside + folder).c_str()));
  }
  PartialInstallation(const PartialInstallation&) = delete;
  PartialInstallation& operator=(const PartialInstallation&) = delete;

  std::wstring Program() const { return folder + L"vtctl_private.exe"; }

 private:
  const std::wstring file = LibraryFile();
  const std::wstring beside = file.substr(0, file.rfind(L'\\') + 1);
  const std::wstring folder = L"doctor-" + vtclass::test::RandomName() + L"\\";
  const std::vector<std::wstring> names;
};

TEST(DoctorCommand, MissingCompanions_AreTold) {
  const PartialInstallation partial({L"vtctl_private.exe", L"vtclass_mini.dll", L"vterrors.dll"});
  vtclass::test::ChildProcess doctor(partial.Program(),
                                     {L"doctor", L"--only", L"cluster,libraries,identity"});
  EXPECT_EQ(doctor.ExitCode(), kExitErrors) << doctor.ErrorOutput();
  const std::string text = doctor.Output();
  for (const char* const part : {"vtcluster.dll is missing.", "vtsocket.dll is missing.",
                                 "This cannot be looked at: vtcluster.dll is missing."}) {
    EXPECT_NE(text.find(part), std::string::npos) << text;
  }
  for (const char* const part :
       {"does not tell this machine's name", "could not be looked at to the end"}) {
    EXPECT_EQ(text.find(part), std::string::npos) << text;
  }
  vtclass::test::ChildProcess cluster(partial.Program(), {L"cluster"});
  EXPECT_EQ(cluster.ExitCode(), kExitInternal);
  EXPECT_NE(cluster.ErrorOutput().find("vtcluster.dll cannot be loaded"), std::string::npos);
}

}  // namespace
}  // namespace vtctl::doctor
