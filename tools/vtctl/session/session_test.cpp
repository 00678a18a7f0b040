#include "tools/vtctl/session/session.h"

#include <gtest/gtest.h>

#include <atomic>

#include "tools/vtctl/session/session_fixture.h"
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
  EXPECT_TRUE(result.findings[0].line.starts_with(L"Q-79-41041-4012 - "));
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
      {L"=Qk95H\\I@7T", L"NORVANE\\b\n", L"a sealed password of NORVANE\\b\xFFFD", 0},
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

}  // namespace
}  // namespace vtctl
