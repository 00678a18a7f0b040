// vtctl as its users run it: a process with arguments, output and an exit code.
#include <gtest/gtest.h>

#include <sstream>

#include <nlohmann/json.hpp>

#include "tests/support/eventually.h"
#include "tests/support/private_registry.h"
#include "tests/support/random_name.h"
#include "tests/support/run_vtctl.h"
#include "tests/support/scratch_folder.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/exit_code.h"

namespace vtctl {
namespace {

using test::VtctlRun;
using vtclass::test::Eventually;
using vtclass::test::MakeFile;
using vtclass::test::ScratchFolder;
using Words = std::vector<std::wstring>;

// A key of its own below the current user, deleted at the end.
class VtctlTest : public testing::Test {
 protected:
  VtctlTest() : subkey(L"Software\\vtclass-test-" + vtclass::test::RandomName()) {}
  ~VtctlTest() override {
    ::RegDeleteTreeW(HKEY_CURRENT_USER, subkey.c_str());
    EXPECT_EQ(vtclass::test::KeyExists(kProduct), productWasThere) << "the machine's own registry";
  }

  static constexpr wchar_t kProduct[] = L"Software\\Norvane";
  const bool productWasThere = vtclass::test::KeyExists(kProduct);

  std::wstring Key() const { return L"HKCU\\" + subkey; }
  Words SessionWords(const std::wstring& root, const std::wstring& out) const {
    return {L"session", L"--root", root, L"--out", out, L"--settings", Key(), L"--language", L"EN"};
  }

  std::wstring subkey;
  ScratchFolder scratch;
};

// The texts of a job log, a line each, as its reader sees them.
std::wstring TextOfLog(const std::wstring& path) {
  VtctlRun show({L"joblog", L"show", path, L"--json"});
  EXPECT_LE(show.ExitCode(), kExitErrors) << show.ErrorOutput();
  std::istringstream lines(show.Output());
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    const auto event = nlohmann::json::parse(line);
    if (event.contains("code")) text += event["code"].get<std::string>() + " - ";
    if (event.contains("text")) text += event["text"].get<std::string>() + "\n";
  }
  return FromUtf8(text);
}

std::wstring OnlyFileIn(const std::wstring& folder) {
  WIN32_FIND_DATAW entry = {};
  const HANDLE find = ::FindFirstFileW((folder + L"\\joblog-*.xml").c_str(), &entry);
  EXPECT_NE(find, INVALID_HANDLE_VALUE);
  EXPECT_FALSE(::FindNextFileW(find, &entry)) << "more than one log";
  ::FindClose(find);
  return folder + L"\\" + entry.cFileName;
}

TEST_F(VtctlTest, ExitCodes_TellWhatIsWrong) {
  MakeFile(scratch / L"file", "x");
  const std::wstring folder = scratch.Path();
  const std::wstring file = scratch / L"file";
  const struct {
    Words words;
    int code;
    const char* sentence;
  } rows[] = {
      {{}, kExitUsage, "subcommand is required"},
      {{L"bogus"}, kExitUsage, "\"bogus\" is not known here"},
      {{L"session", L"--root", folder}, kExitUsage, "--out is required"},
      {{L"session", L"host", L"--out", folder}, kExitUsage, "UNC path as SERVER, is required"},
      {{L"session", L"\\\\192.0.2.1\\data", L"--out", folder},
       kExitNotThisMachine,
       "is not this machine"},
      {{L"session", L"", L"--root", folder, L"--out", folder}, kExitUsage, "server is empty"},
      {{L"session", L"--root", folder, L"--dry-run", L"--settings", L"HKCU\\"},
       kExitUsage,
       "--settings names the root"},
      {{L"session", L"--root", folder, L"--dry-run", L"--settings", L""},
       kExitUsage,
       "--settings names the root"},
      {{L"a\x1B[31m\x202E"}, kExitUsage, "\"a\xEF\xBF\xBD[31m\xEF\xBF\xBD\" is not known"},
      {{L"identity", L"\\\\"}, kExitUsage, "The name is empty"},
      {{L"time", L"2009-02-29"}, kExitBadInput, "does not exist"},
      {{L"time", L"now"}, kExitUsage, "is no date"},
      {{L"volumes", L"--watch", L"--csv"}, kExitUsage, "--csv goes neither"},
      {{L"volumes", L"--for", L"5"}, kExitUsage, "--watch, which is required"},
      {{L"volumes", L"--watch", L"--step", L"-1"}, kExitUsage, "--step"},
      {{L"volumes", L"C:\\"}, kExitUsage, "C:"},
      {{L"convert", L"\\\\", L"--to", L"fqdn"}, kExitUsage, "The name is empty"},
      {{L"convert", L"...", L"--to", L"netbios"}, kExitNoInput, "no name or address in that form"},
      {{L"convert", L"host", L"--to", L"mac"}, kExitUsage, "--to"},
      {{L"resolve", L""}, kExitUsage, "The name is empty"},
      {{L"session", L"--root", folder, L"--out", folder, L"--language", L"QQ"}, kExitUsage, "QQ"},
      {SessionWords(scratch / L"missing", folder), kExitNoInput, "was not found"},
      {SessionWords(file, folder), kExitNoInput, "is not a folder"},
      {SessionWords(L"", folder), kExitUsage, "--root is empty"},
      {SessionWords(folder, file), kExitCannotWrite, "cannot be made"},
      {SessionWords(folder, file + L"\\below"), kExitCannotWrite, "cannot be made"},
      {{L"registry", L"get", L"HKEY_BOGUS\\x"}, kExitUsage, "names no registry key"},
      {{L"registry", L"get", Key(), L"x"}, kExitNoInput, "cannot be opened"},
      {{L"registry", L"list", Key()}, kExitNoInput, "cannot be opened"},
      {{L"registry", L"watch", Key()}, kExitNoInput, "cannot be watched"},
      {{L"registry", L"watch", Key(), L"--count", L"0"}, kExitUsage, "--count"},
      {{L"registry", L"set", Key(), L"x", L"12x", L"--type", L"dword"}, kExitUsage, "no number"},
      {{L"registry", L"set", Key(), L"x", L"0", L"--type", L"binary"}, kExitUsage, "hexadecimal"},
      {{L"registry", L"set", Key(), L"x", L"a", L"", L"--type", L"multi"},
       kExitUsage,
       "empty item"},
      {{L"registry", L"set", Key(), L"x", L"a", L"b"}, kExitUsage, "one word"},
      {{L"registry", L"set", L"HKU\\x", L"x", L"a", L"--type", L"qword"}, kExitUsage, "qword"}};
  for (const auto& row : rows) {
    VtctlRun run(row.words);
    EXPECT_EQ(run.ExitCode(), row.code) << row.sentence;
    EXPECT_NE(run.ErrorOutput().find(row.sentence), std::string::npos) << run.ErrorOutput();
    EXPECT_EQ(run.Output(), "");
  }
}

TEST_F(VtctlTest, GlobalOptions_StandAnywhere) {
  ASSERT_EQ(VtctlRun({L"registry", L"set", Key(), L"V", L"x"}).ExitCode(), kExitClean);
  const Words get = {L"registry", L"get", Key(), L"V"};
  for (size_t place = 0; place <= get.size(); ++place) {
    for (const std::wstring option : {L"--json", L"--quiet"}) {
      Words words = get;
      words.insert(words.begin() + static_cast<std::ptrdiff_t>(place), option);
      VtctlRun run(words);
      EXPECT_EQ(run.ExitCode(), kExitClean) << run.ErrorOutput();
      EXPECT_EQ(run.Output().starts_with("{"), option == L"--json") << place;
      EXPECT_EQ(run.Output().empty(), option == L"--quiet") << place;
    }
  }
  VtctlRun failed({L"registry", L"get", Key(), L"none", L"--quiet"});
  EXPECT_EQ(failed.ExitCode(), kExitNoInput);
  EXPECT_NE(failed.ErrorOutput(), "");
  VtctlRun sibling({L"--product", L"1", L"settings", L"list", L"--no-color"});
  EXPECT_EQ(sibling.ExitCode(), kExitClean);
  EXPECT_NE(sibling.Output().find("\\Quorrel\\"), std::string::npos) << sibling.Output();
  for (const std::wstring number : {L"2", L"-1", L"x"}) {
    EXPECT_EQ(VtctlRun({L"settings", L"list", L"--product=" + number}).ExitCode(), kExitUsage);
  }
  VtctlRun help({L"registry", L"set", L"--help"});
  EXPECT_EQ(help.ExitCode(), kExitClean);
  EXPECT_NE(help.Output().find("--quiet"), std::string::npos);
}

TEST_F(VtctlTest, Session_LockedFile_StandsInTheLogAsOnTheScreen) {
  const std::wstring tree = scratch / L"tree";
  for (const std::wstring folder : {L"", L"\\a & b", L"\\a & b\\inner", L"\\empty"}) {
    ::CreateDirectoryW((tree + folder).c_str(), nullptr);
  }
  MakeFile(tree + L"\\plain.txt", "12345");
  MakeFile(tree + L"\\a & b\\inner\\it's \x6F22\x5B57.txt", "1");
  const std::wstring locked = tree + L"\\a & b\\locked \xD83D\xDE00.txt";
  MakeFile(locked, "secret");
  const vtclass::platform::OwnedFile lock(
      ::CreateFileW(locked.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(lock);

  VtctlRun run(SessionWords(tree, scratch / L"new\\logs"));
  EXPECT_EQ(run.ExitCode(), kExitWarnings);
  const std::wstring text = TextOfLog(OnlyFileIn(scratch / L"new\\logs"));
  const std::wstring output = FromUtf8(run.Output());
  EXPECT_NE(output.find(L"Q-79-41041-4002 - " + locked), std::wstring::npos) << run.Output();
  // Every line of the report, without its indent, is a line of the log.
  std::wistringstream lines(output);
  int compared = 0;
  for (std::wstring line; std::getline(lines, line);) {
    if (!line.starts_with(L"  ")) continue;
    EXPECT_NE(text.find(line.substr(2)), std::wstring::npos) << ToUtf8(line);
    ++compared;
  }
  EXPECT_GE(compared, 15);
  EXPECT_NE(output.find(L"Files: 2\n"), std::wstring::npos);
  EXPECT_NE(output.find(L"Bytes: 6 (6 B)"), std::wstring::npos);
  EXPECT_NE(output.find(L"Directories: 4\n"), std::wstring::npos);
}

TEST_F(VtctlTest, Session_JsonAndLanguage) {
  MakeFile(scratch / L"f.txt", "12345");
  Words words = SessionWords(scratch.Path(), scratch / L"out");
  words.back() = L"de";
  words.insert(words.end(), {L"--json", L"--name",
                             L"Pr\x00FC"
                             L"fung <1>"});
  VtctlRun run(words);
  EXPECT_EQ(run.ExitCode(), kExitClean);
  const auto json = nlohmann::json::parse(run.Output());
  EXPECT_EQ(json["files"], 1);
  EXPECT_EQ(json["bytes"], 5);
  EXPECT_EQ(json["verdict"], "successful");
  const std::wstring text = TextOfLog(FromUtf8(json["jobLog"].get<std::string>()));
  EXPECT_NE(text.find(L"Auftragsname: Pr\x00FC"
                      L"fung <1>"),
            std::wstring::npos);
  EXPECT_NE(text.find(L"Dateien: 1"), std::wstring::npos);
}

TEST_F(VtctlTest, Registry_EachTypeComesBack) {
  const struct {
    const wchar_t* type;
    Words data;
    const char* text;
    const char* json;
  } rows[] = {{L"sz", {L"caf\x00E9 \x6F22"}, "caf\xC3\xA9 \xE6\xBC\xA2\n", R"("caf\u00e9 \u6f22")"},
              {L"expand", {L"%TEMP%\\x"}, "%TEMP%\\x\n", R"("%TEMP%\\x")"},
              {L"dword", {L"0xffffffff"}, "4294967295\n", "4294967295"},
              {L"binary",
               {L"41 00"},
               "00000000  41 00                                             A.\n",
               R"("4100")"},
              {L"binary", {L""}, "", R"("")"},
              {L"multi", {L"a", L"b c"}, "a\nb c\n", R"(["a","b c"])"},
              {L"multi", {}, "", "[]"}};
  for (const auto& row : rows) {
    Words set = {L"registry", L"set", Key(), L"Value", L"--type", row.type, L"--"};
    set.insert(set.end(), row.data.begin(), row.data.end());
    VtctlRun setRun(set);
    EXPECT_EQ(setRun.ExitCode(), kExitClean) << setRun.ErrorOutput();
    VtctlRun get({L"registry", L"get", Key(), L"Value"});
    EXPECT_EQ(get.ExitCode(), kExitClean) << get.ErrorOutput();
    EXPECT_EQ(get.Output(), row.text);
    VtctlRun list({L"registry", L"list", Key(), L"--json"});
    EXPECT_EQ(list.ExitCode(), kExitClean);
    const auto json = nlohmann::json::parse(list.Output());
    EXPECT_EQ(json["values"][0]["data"], nlohmann::json::parse(row.json));
    VtctlRun csv({L"registry", L"list", Key(), L"--csv"});
    EXPECT_EQ(csv.ExitCode(), kExitClean);
    EXPECT_TRUE(csv.Output().starts_with("name,type,data\r\nValue,REG_")) << csv.Output();
  }
}

TEST_F(VtctlTest, Registry_Watch_PrintsTheChange) {
  ASSERT_EQ(VtctlRun({L"registry", L"set", Key() + L"\\Sub", L"Level", L"1"}).ExitCode(), 0);
  VtctlRun watch({L"registry", L"watch", Key(), L"--count", L"1", L"--for", L"30"});
  // It says so once it is armed.
  ASSERT_TRUE(Eventually([&] { return watch.Output().find("Watching") != std::string::npos; }));
  ASSERT_EQ(VtctlRun({L"registry", L"set", Key() + L"\\Sub", L"Level", L"2"}).ExitCode(), 0);
  EXPECT_EQ(watch.ExitCode(), kExitClean);
  EXPECT_NE(watch.Output().find("\\Sub  Level = 2  [REG_SZ]"), std::string::npos) << watch.Output();

  VtctlRun quiet({L"registry", L"watch", Key(), L"--count", L"1", L"--for", L"1"});
  EXPECT_EQ(quiet.ExitCode(), kExitWarnings);
}

TEST_F(VtctlTest, Failures_AreJsonToo) {
  const struct {
    Words words;
    const char* command;
    int code;
    nlohmann::json status;
  } rows[] = {{{L"bogus"}, "vtctl", kExitUsage, nullptr},
              {{L"registry"}, "registry", kExitUsage, nullptr},
              {{L"registry", L"get", Key(), L"--none"}, "registry get", kExitUsage, nullptr},
              {{L"registry", L"get", Key(), L"x"}, "registry get", kExitNoInput, 2},
              {{L"hash", scratch / L"none"}, "hash", kExitNoInput, 2},
              {{L"volumes", L"--csv"}, "volumes", kExitUsage, nullptr},
              {{L"time", L"2009-02-29"}, "time", kExitBadInput, nullptr}};
  for (const auto& row : rows) {
    Words words = row.words;
    words.insert(words.begin(), L"--json");
    VtctlRun run(words);
    EXPECT_EQ(run.ExitCode(), row.code) << row.command;
    const auto json = nlohmann::json::parse(run.Output());
    EXPECT_EQ(json["command"], row.command);
    EXPECT_EQ(json["exitCode"], row.code);
    EXPECT_EQ(json["status"], row.status);
    EXPECT_NE(run.ErrorOutput().find("vtctl: " + json["error"].get<std::string>()),
              std::string::npos);
  }
  // Behind "--" it is an argument.
  VtctlRun plain({L"time", L"--", L"--json", L"more"});
  EXPECT_EQ(plain.ExitCode(), kExitUsage);
  EXPECT_EQ(plain.Output(), "");
  // What tells of the failure itself is the only answer.
  VtctlRun answer({L"digest", L"ndmp", std::wstring(128, L'0'), L"--json"}, std::string(40, 'x'));
  EXPECT_EQ(answer.ExitCode(), kExitWarnings);
  EXPECT_EQ(nlohmann::json::parse(answer.Output())["passwordCut"], true);
}

TEST_F(VtctlTest, LostOutput_IsToldByEveryCommand) {
  MakeFile(scratch / L"full", "");
  SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
  // What may only be read takes no output, as a disk that is full.
  const vtclass::platform::OwnedFile full(::CreateFileW(
      (scratch / L"full").c_str(), GENERIC_READ, 0, &inheritable, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(full);
  const Words lines[] = {{L"time"},
                         {L"time", L"--json"},
                         {L"settings", L"list"},
                         {L"settings", L"list", L"--csv"},
                         {L"completion", L"bash"},
                         {L"session", L"--help"},
                         {L"time", L"2009-02-29", L"--json"}};
  for (const Words& words : lines) {
    VtctlRun run(words, full.Get());
    EXPECT_EQ(run.ExitCode(), kExitCannotWrite) << ToUtf8(words.front());
    EXPECT_NE(run.ErrorOutput().find("Standard output cannot be written"), std::string::npos);
  }
  EXPECT_EQ(VtctlRun({L"time", L"--quiet"}, full.Get()).ExitCode(), kExitClean);
}

TEST_F(VtctlTest, Arguments_MayBeginLikeOptions) {
  const struct {
    Words words;
    const char* sentence;
  } rows[] = {{{L"time", L"/x"}, "\"/x\" is no date"},
              {{L"time", L"--", L"-x"}, "\"-x\" is no date"},
              {{L"hash", L"--", L"--json"}, "--json cannot be opened"},
              {{L"hash", L"/none"}, "/none cannot be opened"},
              {{L"time", L"-x"}, "-x"}};
  for (const auto& row : rows) {
    VtctlRun run(row.words);
    EXPECT_GE(run.ExitCode(), kExitUsage);
    EXPECT_NE(run.ErrorOutput().find(row.sentence), std::string::npos) << run.ErrorOutput();
  }
}

TEST_F(VtctlTest, DebugLog_InfoTellsWhatIsStored_AndStoresNothing) {
  ASSERT_EQ(VtctlRun({L"settings", L"set", L"MaxDebugFile Enabled", L"1"}).ExitCode(), kExitClean);
  // A session, which makes a log, may have come before.
  const Words append = {L"settings", L"unset", L"MaxDebugFile Append"};
  ASSERT_EQ(VtctlRun(append).ExitCode(), kExitClean);
  VtctlRun info({L"debuglog", L"info", scratch / L"none.log"});
  EXPECT_EQ(info.ExitCode(), kExitNoInput);
  for (const char* const line : {"CreateDebugLog is 0, off", "4 MB in 1 rotated files"}) {
    EXPECT_NE(info.Output().find(line), std::string::npos) << info.Output();
  }
  EXPECT_EQ(VtctlRun({L"settings", L"get", L"MaxDebugFile Append"}).ExitCode(), kExitNoInput);
  VtctlRun({L"settings", L"unset", L"MaxDebugFile Enabled"}).ExitCode();
}

TEST_F(VtctlTest, DebugLog_FollowWaitsForALogThatIsNotThereYet) {
  const std::wstring log = scratch / L"trace.log";
  VtctlRun follow({L"debuglog", L"follow", log, L"--for", L"20", L"--lines", L"1"});
  ASSERT_TRUE(Eventually(
      [&] { return follow.ErrorOutput().find("is not there yet") != std::string::npos; }));
  MakeFile(log, "one\r\ntwo\r\n");
  // All of it is new, whatever --lines says.
  EXPECT_TRUE(Eventually([&] { return follow.Output().find("one\ntwo") != std::string::npos; }))
      << follow.Output();
  follow.Kill();
  VtctlRun missing({L"debuglog", L"follow", scratch / L"none\\trace.log", L"--for", L"1"});
  EXPECT_EQ(missing.ExitCode(), kExitNoInput);
}

}  // namespace
}  // namespace vtctl
