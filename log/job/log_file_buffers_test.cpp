#include "tests/support/log_file_fixture.h"

namespace vtclass::test {
namespace {

TEST(CWcharBuffer, Write_DropsItsExclusionSet) {
  CWcharBuffer buffer;
  const std::wstring kept =
      L"\x02\n\r\x0F\x10\x11\x12\x13\x14\x15\x16\x17\x18\x19\x1A\x1B\x1C\x1D\x1E";
  std::wstring all;
  for (wchar_t unit = 1; unit < 0x20; ++unit) all += unit;
  EXPECT_TRUE(buffer.IsBufferEmpty());
  EXPECT_TRUE(buffer.Write(nullptr, 5));
  EXPECT_TRUE(buffer.Write(all.data(), all.size()));
  EXPECT_EQ(buffer.ReadFromBuffer(), kept);
  EXPECT_TRUE(buffer.WriteToBufferAllPrintableChars(all.data(), all.size()));
  EXPECT_EQ(buffer.ReadFromBuffer(), kept + all);
  EXPECT_EQ(buffer.BufferCount(), kept.size() + all.size());
  EXPECT_EQ(buffer.Write(all.data(), ~0ull), 0);
  for (int n = 0; n < 500; ++n, all += kept) EXPECT_TRUE(buffer.Write(all.data(), all.size()));
  EXPECT_EQ(buffer.BufferCount(), wcslen(buffer.ReadFromBuffer()));
}

TEST_F(LogFileTest, Buffers_CollectUntilFlushed) {
  LogFile log(messages, 1, -1, -1);
  ASSERT_EQ(log.Open(createAlways, path.c_str()), 1);
  for (const int n : {-1, 33, 32}) {
    EXPECT_EQ(log.AllocateBuffer(n), n == 32 ? 0 : -1) << n;
    EXPECT_EQ(log.AllocateBuffer(n), -1) << n;
    EXPECT_EQ(log.DeAllocateBuffer(n), n == 32 ? 0 : -1) << n;
    EXPECT_EQ(log.DeAllocateBuffer(n), -1) << n;
    EXPECT_EQ(log.FlushBufferToFile(n), 0) << n;
    EXPECT_EQ(log.FlushBufferToFileAndDeAllocate(n), 0) << n;
  }
  ASSERT_EQ(log.AllocateBuffer(0), 0);
  log.print(0, L"mode off,");
  log.EnterBufferedMode();
  log.print(0, L"<\x01%s>", std::wstring(3000, L'y').c_str());
  for (const int n : {-1, 7, 33, -5}) log.print(n, L"%d,", n);
  EXPECT_EQ(Body(), L"mode off,-1,7,33,-5,");
  EXPECT_NE(log.FlushBufferToFile(0), 0);
  EXPECT_EQ(log.FlushBufferToFileAndDeAllocate(0), -1);
  log.print(0, L"gone,");
  const std::wstring section = L"&lt;" + std::wstring(3000, L'y') + L"&gt;";
  EXPECT_EQ(Body(), L"mode off,-1,7,33,-5," + section + section + L"gone,");
}

TEST_F(LogFileTest, FlushWrite_RestoresThePendingText) {
  CollectingLogFile log(messages, 1, -1, -1);
  log.print(-1, L"pending");
  wchar_t text[] = L"<other>";
  EXPECT_EQ(log.FlushWrite(text, 6), 1);
  EXPECT_EQ(log.last, L"<other");
  EXPECT_EQ(std::wstring(log.PendingText(), log.PendingLength()), L"pending");
}

}  // namespace
}  // namespace vtclass::test
