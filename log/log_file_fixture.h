#ifndef VTCLASS_LOG_LOG_FILE_FIXTURE_H
#define VTCLASS_LOG_LOG_FILE_FIXTURE_H

#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/support/scratch_folder.h"
#include "vtclass/log.h"

namespace vtclass::test {

inline constexpr wchar_t kUnicodeHeader[] =
    L"\xFEFF<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n<joblog>"
    L"<job_log_version version=\"2.0\"/>";
inline constexpr char kAnsiHeader[] =
    "<?xml version=\"1.0\" encoding=\"windows-1252\"?>\r\n<joblog>"
    "<job_log_version version=\"2.0\"/>";
inline constexpr wchar_t kEnd[] = L"</joblog>";

inline constexpr int kCreate = 0;
inline constexpr int kAppend = 1;
inline constexpr int kCreateNew = 2;

/* A job log that shows what it keeps to derived classes. */
class OpenLogFile : public LogFile {
 public:
  using LogFile::FormatCapacity;
  using LogFile::LogFile;
  using LogFile::OutputCapacity;
  using LogFile::PendingLength;
  using LogFile::PendingText;
};

/* A job log that keeps its texts in place of writing them. */
class CollectingLogFile : public OpenLogFile {
 public:
  using OpenLogFile::OpenLogFile;
  int WriteText() override {
    last.assign(PendingText(), PendingLength());
    all += last;
    return 1;
  }
  std::wstring last;
  std::wstring all;
};

/* A folder, the test program's own messages, and verbs for the log in `Path()`. */
class LogFileTest : public ::testing::Test {
 protected:
  std::wstring Path() const { return folder / L"job.log"; }
  /* The text of a UTF-16 log, its byte-order mark included. */
  std::wstring Written() const {
    const std::string bytes = FileBytes(Path());
    EXPECT_EQ(bytes.size() % 2, 0u);
    return std::wstring(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2);
  }
  /* What a UTF-16 log holds behind its header. */
  std::wstring Body() const {
    const std::wstring text = Written();
    EXPECT_TRUE(text.starts_with(kUnicodeHeader));
    return text.substr(std::min(text.size(), std::size(kUnicodeHeader) - 1));
  }

  ScratchFolder folder;
  StringResourceMgr messages;
};

}  // namespace vtclass::test

#endif
