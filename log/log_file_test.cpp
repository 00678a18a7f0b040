#include "log/log_file_fixture.h"

namespace vtclass::test {
namespace {

TEST_F(LogFileTest, Unicode_WholeLog_IsByteExact) {
  LogFile log(messages, 1, -1, -1);
  ASSERT_EQ(log.Open(kCreateNew, Path().c_str()), 1);
  EXPECT_STREQ(log.GetFileName(), L"job.log");
  EXPECT_TRUE(log.print(-1, L"&<>'\"\n%s %d %ls\n", L"\x4E2D", -7, L"x\x07"));
  EXPECT_TRUE(log.printTMP(-1, L"&<>'\"\n%s"));
  EXPECT_EQ(log.Close(), 1);
  EXPECT_EQ(log.Close(), 1);
  EXPECT_EQ(log.GetErrorCode(), 0u);
  EXPECT_EQ(Written(),
            kUnicodeHeader + std::wstring(L"&amp;&lt;&gt;&apos;&quot;\r\n\x4E2D -7 x\x07\r\n"
                                          L"&<>'\"\r\n%s</joblog>"));
}

TEST_F(LogFileTest, Ansi_WholeLog_IsByteExact) {
  LogFile log(messages, 0, -1, -1);
  ASSERT_EQ(log.Open(kCreate, Path().c_str()), 1);
  EXPECT_TRUE(log.print(-1, L"M\x00FCller & %S\n", "narrow"));
  EXPECT_EQ(log.Close(), 1);
  EXPECT_EQ(FileBytes(Path()), kAnsiHeader + std::string("M\xFCller &amp; narrow\r\n</joblog>"));
}

}  // namespace
}  // namespace vtclass::test
