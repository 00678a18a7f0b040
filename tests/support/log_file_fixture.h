#ifndef VTCLASS_TESTS_SUPPORT_LOG_FILE_FIXTURE_H
#define VTCLASS_TESTS_SUPPORT_LOG_FILE_FIXTURE_H

#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <string>

#include "tests/support/scratch_folder.h"
#include "vtclass/log.h"

namespace vtclass::test {

// NOLINTNEXTLINE(cert-err58-cpp): a test without memory cannot go on anyway
inline const std::wstring kUnicodeHeader =
    L"\xFEFF<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n<joblog>"
    L"<job_log_version version=\"2.0\"/>";

enum Mode { createAlways = 0, append = 1, createNew = 2 };

/* A job log that keeps its texts in place of writing them, and shows its buffers. */
class CollectingLogFile : public LogFile {
 public:
  using LogFile::FormatCapacity;
  using LogFile::LogFile;
  using LogFile::OutputCapacity;
  using LogFile::PendingLength;
  using LogFile::PendingText;
  int WriteText() override {
    last.assign(PendingText(), PendingLength());
    all += last;
    return 1;
  }
  std::wstring last;
  std::wstring all;
};

/* The test program's own messages, and a folder with the log at `path`. */
class LogFileTest : public ::testing::Test {
 protected:
  /* What a UTF-16 log holds behind its header. */
  std::wstring Body() const {
    const std::string bytes = FileBytes(path);
    const std::wstring text(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2);
    EXPECT_TRUE(text.starts_with(kUnicodeHeader));
    EXPECT_EQ(bytes.size() % 2, 0u);
    return text.substr(std::min(text.size(), kUnicodeHeader.size()));
  }

  const ScratchFolder folder;
  const std::wstring path = folder / L"job.log";
  StringResourceMgr messages;
};

}  // namespace vtclass::test

#endif
