#include "tools/vtctl/session/session.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <set>

#include "tests/support/session_fixture.h"
#include "tools/vtctl/shared/console.h"
#include "vtclass/product.h"

namespace vtctl {
namespace {

std::atomic<int> questions = 0;
bool AtTheFifthQuestion() { return ++questions > 4; }

TEST_F(SessionTest, Run_CountsWhatItRead) {
  const SessionResult result = Run();
  EXPECT_EQ(result.status, SessionResult::successful);
  EXPECT_EQ(result.totals.folders, 2U);
  EXPECT_EQ(result.totals.files, 2U);
  EXPECT_EQ(result.totals.bytes, 300010U);
  const std::wstring text = LogText(result);
  for (const std::wstring& line : result.summary) {
    EXPECT_NE(text.find(L">" + line + L"</"), std::wstring::npos) << ToUtf8(line);
  }
  EXPECT_NE(text.find(L".bin: 1 files, 300,000 bytes"), std::wstring::npos);
}

TEST_F(SessionTest, Run_EmptyTreeIsAWarning) {
  ::CreateDirectoryW((scratch / L"empty").c_str(), nullptr);
  request.root = Path(scratch / L"empty");
  const SessionResult result = Run();
  EXPECT_EQ(result.status, SessionResult::exceptions);
  ASSERT_EQ(result.findings.size(), 1U);
  EXPECT_TRUE(LineOf(result.findings[0]).starts_with(L"Q-79-41041-4012 - "));
}

TEST_F(SessionTest, Run_DoesNotReadItsOwnLog) {
  request.out = Path(scratch / L"tree");
  const SessionResult result = Run();
  EXPECT_EQ(result.totals.files, 2U);
  EXPECT_EQ(result.totals.warnings, 0U);
}

TEST_F(SessionTest, Run_StoppedInTheMiddle_FinishesTheLog) {
  questions = 0;
  request.stopRequested = AtTheFifthQuestion;
  const SessionResult result = Run();
  EXPECT_EQ(result.status, SessionResult::cancelled);
  EXPECT_EQ(result.totals.errors, 1U);
  const std::wstring text = LogText(result);
  EXPECT_TRUE(text.ends_with(L"</footer>\r\n</joblog>"));
  EXPECT_NE(text.find(L"Job completion status: Cancelled"), std::wstring::npos);
}

TEST_F(SessionTest, JobLog_SameSecond_NeverOverwrites) {
  const SYSTEMTIME time = {2025, 1, 5, 31, 22, 3, 4, 0};
  JobLog first, second;
  ASSERT_TRUE(first.Create(messages, request.out, time));
  ASSERT_TRUE(second.Create(messages, request.out, time));
  EXPECT_TRUE(first.Path().System().ends_with(L"\\joblog-20250131-220304.xml"));
  EXPECT_TRUE(second.Path().System().ends_with(L"\\joblog-20250131-220304-2.xml"));
  first.Close();
  second.Close();
}

TEST_F(SessionTest, LoadSettings_WritesDefaultsBackAndRefusesOutOfRange) {
  const KeyPath key = SessionKey();
  const DWORD tooSmall = 1;
  vtclass::test::MakeKey(key.subkey);
  vtclass::test::StoreValue(key.subkey, L"Buffer Size KB", REG_DWORD, &tooSmall, sizeof tooSmall);
  vtclass::test::StoreValue(key.subkey, L"Report Links", REG_SZ, L"1", 4);

  const SessionSettings settings = LoadSettings(key);
  EXPECT_EQ(settings.error, 0U);
  EXPECT_EQ(settings.bufferSizeKB, 256U);
  EXPECT_EQ(settings.reportLinks, 0U);
  DWORD type = REG_NONE;
  EXPECT_EQ(vtclass::test::StoredValue(key.subkey, L"Report Links", &type), std::string(4, '\0'));
  EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
  // What an administrator stored stays, usable or not.
  EXPECT_EQ(vtclass::test::StoredValue(key.subkey, L"Buffer Size KB", &type)[0], '\1');
  EXPECT_EQ(Run().totals.warnings, 1U);
}

TEST_F(SessionTest, LoadSettings_KeyThatCannotBeOpened_GivesDefaultsAndAWarning) {
  request.settingsKey = {nullptr, L"nothing"};
  const SessionSettings settings = LoadSettings(request.settingsKey);
  EXPECT_EQ(settings.error, static_cast<unsigned long>(ERROR_INVALID_HANDLE));
  EXPECT_EQ(settings.readFileData, 1U);
  const SessionResult result = Run();
  EXPECT_EQ(result.status, SessionResult::exceptions);
  EXPECT_EQ(result.totals.files, 2U);
}

// Whose the password is, and never what it is.
TEST_F(SessionTest, StoredPassword_IsTold) {
  const struct {
    std::wstring password;
    std::wstring account;
    std::wstring line;
    uint64_t warnings;
  } rows[] = {
      {L"=Qk95H\\I@7T", L"NORVANE\\b\x1\x202E", L"a sealed password of NORVANE\\b\xFFFD\x202E", 0},
      {L"=Qk95H\\I@7T", L"", L"a sealed password of (account not named)", 0},
      {L"hunter2!", L"NORVANE\\b", L"the password of NORVANE\\b is not sealed.", 1},
      {L"=Qk95H\\I@7X", L"b", L"the sealed password of b does not open on this machine.", 1},
      {L"~1~0000", L"b", L"the sealed password of b does not open on this machine.", 1},
      {L"", L"b", L"", 0}};
  const std::wstring key = SessionKey().subkey;
  const auto store = [&](const wchar_t* name, const std::wstring& text) {
    vtclass::test::StoreValue(key, name, REG_SZ, text.c_str(),
                              static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  };
  for (const auto& row : rows) {
    store(L"Account", row.account);
    store(L"Account Password", row.password);
    const SessionResult result = Run();
    const std::wstring log = LogText(result);
    EXPECT_EQ(result.totals.warnings, row.warnings);
    if (row.line.empty()) {
      EXPECT_EQ(log.find(L"Account Password"), std::wstring::npos);
    } else {
      EXPECT_NE(log.find(L"Account Password: " + row.line), std::wstring::npos);
    }
    EXPECT_EQ(log.find(L"secret"), std::wstring::npos);
    if (!row.password.empty()) EXPECT_EQ(log.find(row.password), std::wstring::npos);
  }
}

TEST_F(SessionTest, SessionKey_FollowsTheProductSwitch) {
  CMS_SetProd(1);
  EXPECT_EQ(SessionKey().subkey, L"Software\\Quorrel\\Strandel\\VTDS\\Session");
  CMS_SetProd(0);
  EXPECT_EQ(SessionKey().subkey, L"Software\\Norvane\\Vantorel For Windows\\Vantorel\\Session");
}

TEST_F(SessionTest, FolderFinding_MissingRootIsAnErrorAMissingSubfolderAWarning) {
  const FolderListing listing(Path(scratch / L"missing"));
  EXPECT_FALSE(listing.Opened());
  EXPECT_TRUE(FolderFinding(messages, L"C:\\r", listing, true).IsError());
  EXPECT_FALSE(FolderFinding(messages, L"C:\\r", listing, false).IsError());
}

int looks;
struct {
  DWORD bytes;
  DWORD time;
} added[2];  // to what the first and the second look at a file see

decltype(::GetFileInformationByHandle)* realLook = nullptr;
BOOL WINAPI LookTwice(HANDLE file, BY_HANDLE_FILE_INFORMATION* information) {
  if (!realLook(file, information)) return FALSE;
  const auto& more = added[looks++ % 2];
  information->nFileSizeLow += more.bytes;
  information->ftLastWriteTime.dwLowDateTime += more.time;
  return TRUE;
}

TEST_F(SessionTest, FileReader_TellsWhetherTheFileChangedMeanwhile) {
  const vtclass::test::ImportHook<decltype(::GetFileInformationByHandle)> hook(
      "KERNEL32.dll", "GetFileInformationByHandle", &LookTwice, ::GetModuleHandleW(nullptr));
  realLook = hook.Original();
  StopSign stop(request.stopRequested);
  FileReader reader(4096, stop);
  const struct {
    DWORD shorterBy, longerBy, laterBy;
    ReadResult::Outcome outcome;
  } rows[] = {{0, 0, 0, ReadResult::complete},
              {0, 1, 0, ReadResult::changed},
              {0, 0, 1, ReadResult::changed},
              {1, 0, 0, ReadResult::shorter}};
  for (const auto& row : rows) {
    looks = 0;
    added[0] = {row.shorterBy, 0};
    added[1] = {row.longerBy, row.laterBy};
    EXPECT_EQ(reader.Read(request.root / L"one.txt").outcome, row.outcome);
  }
}

// One text never stands for another; of a code that has too many, the rest has none.
TEST_F(SessionTest, Reasons_AreToldApartByTheirTexts_WithinBounds) {
  const vtclass::test::ImportHook<decltype(::GetFileInformationByHandle)> hook(
      "KERNEL32.dll", "GetFileInformationByHandle", &LookTwice, ::GetModuleHandleW(nullptr));
  realLook = hook.Original();
  looks = 0;
  added[0] = {1, 0};
  added[1] = {0, 0};
  request.workers = 1;
  std::set<uint64_t> sizes = {10, 300000};
  for (size_t size = 1; size <= 12; ++size) {
    sizes.insert(size);
    vtclass::test::MakeFile(scratch / (L"tree\\" + std::to_wstring(size)), std::string(size, 'x'));
  }
  const SessionResult result = Run();
  ASSERT_EQ(result.reasons.size(), 11U);
  uint64_t count = 0, others = 0;
  for (const ReasonCount& reason : result.reasons) {
    EXPECT_EQ(reason.code, vtclass::messages::kCodeFilePartlyRead);
    count += reason.count;
    if (reason.text == L"...") others += reason.count;
  }
  EXPECT_EQ(count, 14U);
  EXPECT_GE(others, sizes.size() - 10);
  EXPECT_LE(others, sizes.size() - 9);
}

TEST(FileStatistics, Largest_KeepsTheFirstOfEqualOnes) {
  FileStatistics statistics(2);
  statistics.Add(L"a", L".x", 5);
  statistics.Add(L"b", L".y", 7);
  statistics.Add(L"c", L".x", 5);
  statistics.Add(L"d", L".x", 6);
  ASSERT_EQ(statistics.Largest().size(), 2U);
  EXPECT_EQ(statistics.Largest()[0].path, L"b");
  EXPECT_EQ(statistics.Largest()[1].path, L"d");
  EXPECT_EQ(statistics.ByExtension()[0].extension, L".x");
  EXPECT_EQ(statistics.ByExtension()[0].bytes, 16U);
  FileStatistics none(0);
  none.Add(L"a", L"", 1);
  EXPECT_TRUE(none.Largest().empty());
}

TEST(Findings, FileFinding_EachStatusHasItsSentence) {
  Messages messages;
  ASSERT_TRUE(messages.Load(L"EN"));
  const struct {
    ReadResult result;
    long code;
  } rows[] = {
      {{ReadResult::cannotOpen, ERROR_ACCESS_DENIED}, vtclass::messages::kCodeAccessDenied},
      {{ReadResult::cannotOpen, ERROR_SHARING_VIOLATION}, vtclass::messages::kCodeFileInUse},
      {{ReadResult::cannotOpen, ERROR_FILE_NOT_FOUND}, vtclass::messages::kCodeFileDisappeared},
      {{ReadResult::cannotOpen, ERROR_NOT_READY}, vtclass::messages::kCodeFileOpenFailed},
      {{ReadResult::cannotRead, ERROR_LOCK_VIOLATION}, vtclass::messages::kCodeFileInUse},
      {{ReadResult::cannotRead, ERROR_CRC}, vtclass::messages::kCodeFileCorrupt},
      {{ReadResult::cannotRead, ERROR_NOT_READY}, vtclass::messages::kCodeFileReadFailed},
      {{ReadResult::cannotAsk, ERROR_NOT_READY}, vtclass::messages::kCodeAttributesFailed},
      {{ReadResult::changed}, vtclass::messages::kCodeFileChanged},
      {{ReadResult::shorter, 0, 9, 4}, vtclass::messages::kCodeFilePartlyRead}};
  for (const auto& row : rows) {
    const Finding finding = FileFinding(messages, L"C:\\f", row.result);
    EXPECT_EQ(finding.code, row.code) << ToUtf8(finding.text);
    EXPECT_NE(finding.text.find(L"C:\\f"), std::wstring::npos);
    EXPECT_EQ(finding.text.find(L'%'), std::wstring::npos) << "an argument is missing";
  }
}

TEST_F(SessionTest, Selection_IsReadAndTheRestCounted) {
  ::CreateDirectoryW((scratch / L"tree\\sub\\deep").c_str(), nullptr);
  vtclass::test::MakeFile(scratch / L"tree\\sub\\deep\\three.TXT", "1");
  const struct {
    Selection selection;
    uint64_t files, folders, excluded;
  } rows[] = {{{}, 3, 3, 0},
              {{{L"*.txt"}, {}}, 2, 3, 1},
              {{{}, {L"*.txt"}}, 1, 3, 2},
              {{{L"*.txt", L"*.bin"}, {L"three.*"}}, 2, 3, 1},
              {{{}, {L"sub"}}, 1, 1, 1},
              {{{}, {L"deep"}}, 2, 2, 1},
              // With a backslash it is the path below the root.
              {{{}, {L"\\deep"}}, 3, 3, 0},
              {{{}, {L"sub/deep\\"}}, 2, 2, 1},
              {{{L"sub\\*"}, {}}, 2, 3, 1}};
  for (const auto& row : rows) {
    request.selection = row.selection;
    const SessionResult result = Run();
    EXPECT_EQ(result.totals.files, row.files) << &row - rows;
    EXPECT_EQ(result.totals.folders, row.folders) << &row - rows;
    EXPECT_EQ(result.totals.excluded, row.excluded) << &row - rows;
    EXPECT_EQ(LogText(result).find(L"Left out by choice: ") != std::wstring::npos,
              !row.selection.IsEmpty());
    ASSERT_TRUE(::DeleteFileW(result.logPath.System().c_str()));
  }
}

TEST_F(SessionTest, DryRun_CountsAndLeavesNothing) {
  request.isDryRun = true;
  request.out = {};
  const vtclass::platform::OwnedFile locked(::CreateFileW(
      (scratch / L"tree\\one.txt").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  const SessionResult result = Run();
  EXPECT_EQ(result.status, SessionResult::successful);
  EXPECT_EQ(result.totals.files, 2U);
  EXPECT_EQ(result.totals.bytes, 300010U);
  EXPECT_EQ(result.logPath.Shown(), L"");
  EXPECT_FALSE(vtclass::test::KeyExists(SessionKey().subkey)) << "a setting was stored";
  WIN32_FIND_DATAW entry = {};
  EXPECT_EQ(::FindFirstFileW((scratch / L"*.xml").c_str(), &entry), INVALID_HANDLE_VALUE);
}

// The root of a registry opens with more rights than were asked for.
TEST_F(SessionTest, LoadSettings_ThatMayNotStore_StoresNothingInARoot) {
  const SessionSettings settings = LoadSettings({HKEY_LOCAL_MACHINE, L""}, false);
  EXPECT_EQ(settings.error, 0U);
  EXPECT_EQ(settings.bufferSizeKB, 256U);
  EXPECT_EQ(settings.jobName, L"Backup session");
  DWORD type = REG_NONE;
  for (const SettingReport& report : settings.reports) {
    EXPECT_EQ(vtclass::test::StoredValue(L"", report.name, &type), "");
    EXPECT_EQ(report.origin, SettingReport::defaultUsed);
  }
}

// The disk has room again when the end is written, for one who frees some meanwhile.
TEST_F(SessionTest, JobLog_ThatLostATextHasNoEnd_AndEveryAnswerSaysSo) {
  const struct {
    const wchar_t* lost;
    bool isInFooter;
  } rows[] = {{L"</directory_name>", false}, {L"Job completion status", true}};
  for (const auto& row : rows) {
    bool isLost = false;
    const auto hook = vtclass::test::Replace<decltype(::WriteFile)>(
        "WriteFile", [&](HANDLE file, const void* data, DWORD size, DWORD* done, OVERLAPPED* how) {
          const std::wstring_view text(static_cast<const wchar_t*>(data), size / sizeof(wchar_t));
          if (isLost || text.find(row.lost) == std::wstring_view::npos) {
            return ::WriteFile(file, data, size, done, how);
          }
          isLost = true;
          ::SetLastError(ERROR_DISK_FULL);
          return FALSE;
        });
    const SessionResult result = Run();
    EXPECT_TRUE(isLost);
    EXPECT_EQ(result.logError, ERROR_DISK_FULL);
    EXPECT_EQ(result.status, SessionResult::failed);
    EXPECT_EQ(result.totals.errors, 1U);
    ASSERT_EQ(result.findings.size(), 1U);
    EXPECT_EQ(result.findings[0].code, vtclass::messages::kCodeJobLogWriteFailed);
    ASSERT_EQ(result.reasons.size(), 1U);
    EXPECT_EQ(result.reasons[0].count, 1U);
    EXPECT_EQ(std::ranges::count(result.summary, std::wstring(L"Errors: 1")), 1);
    EXPECT_EQ(result.summary.back(), L"Job completion status: Failed");
    const std::wstring text = LogText(result);
    EXPECT_EQ(text.find(row.lost), std::wstring::npos);
    EXPECT_EQ(text.find(L"</joblog>"), std::wstring::npos);
    EXPECT_EQ(text.find(L"<footer>") != std::wstring::npos, row.isInFooter);
    ASSERT_TRUE(::DeleteFileW(result.logPath.System().c_str()));
  }
}

TEST_F(SessionTest, Findings_TellPathAndStatus_AndTheirReasonsAreCounted) {
  request.keptFindings = 1;
  const std::wstring names[] = {L"tree\\one.txt", L"tree\\sub\\two.bin"};
  std::vector<vtclass::platform::OwnedFile> locks;
  for (const std::wstring& name : names) {
    locks.emplace_back(::CreateFileW((scratch / name).c_str(), GENERIC_READ, 0, nullptr,
                                     OPEN_EXISTING, 0, nullptr));
  }
  const SessionResult result = Run();
  EXPECT_EQ(result.totals.warnings, 2U);
  ASSERT_EQ(result.findings.size(), 1U);
  EXPECT_EQ(result.findings[0].path, scratch / names[0]);
  EXPECT_EQ(result.findings[0].status, ERROR_SHARING_VIOLATION);
  ASSERT_EQ(result.reasons.size(), 1U);
  EXPECT_EQ(result.reasons[0].count, 2U);
  EXPECT_EQ(result.reasons[0].text.find(L"one.txt"), std::wstring::npos) << "its path is left out";
  EXPECT_LE(result.started, result.ended);
}

}  // namespace
}  // namespace vtctl
