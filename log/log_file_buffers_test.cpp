#include "log/buffer_growth.h"
#include "log/log_file_fixture.h"

namespace vtclass::test {
namespace {

TEST(CWcharBuffer, Write_DropsItsExclusionSet) {
  CWcharBuffer buffer;
  std::wstring all;
  std::wstring kept;
  for (wchar_t unit = 1; unit < 0x30; ++unit) {
    all += unit;
    const bool dropped = unit == 1 || (unit >= 3 && unit <= 9) || unit == 0xB || unit == 0xC ||
                         unit == 0xE || unit == 0x1F;
    if (!dropped) kept += unit;
  }
  EXPECT_TRUE(buffer.IsBufferEmpty());
  EXPECT_TRUE(buffer.Write(nullptr, 5));
  EXPECT_TRUE(buffer.Write(all.data(), all.size()));
  EXPECT_EQ(buffer.ReadFromBuffer(), kept);
  EXPECT_EQ(buffer.BufferCount(), kept.size());
  EXPECT_TRUE(buffer.WriteToBufferAllPrintableChars(all.data(), all.size()));
  EXPECT_EQ(buffer.ReadFromBuffer(), kept + all);
}

TEST(CWcharBuffer, Growth_FollowsItsRule) {
  const struct {
    std::uint64_t capacity, used, length, room;
  } cases[] = {{1024, 0, 1022, 1024}, {1024, 0, 1023, 1024 + 2046}, {1024, 1, 1022, 2048},
               {1024, 1022, 1, 2048}, {2048, 1023, 1023, 2048},     {2048, 1024, 1023, 4094},
               {1024, 0, ~0ull, 0},   {1024, 0, 1ull << 62, 0}};
  for (const auto& row : cases) {
    EXPECT_EQ(log::RoomForAppend(row.capacity, row.used, row.length), row.room) << row.length;
  }
  CWcharBuffer buffer;
  const std::wstring part(1021, L'p');
  std::wstring all;
  for (int n = 0; n < 500; ++n, all += part) {
    ASSERT_TRUE(buffer.Write(part.data(), part.size()));
  }
  EXPECT_EQ(buffer.ReadFromBuffer(), all);
  EXPECT_EQ(buffer.Write(part.data(), ~0ull), 0);
  EXPECT_EQ(buffer.ReadFromBuffer(), all);
}

TEST_F(LogFileTest, Buffers_AllocateAndFree_AnswerWrongIndices) {
  LogFile log(messages, 1, -1, -1);
  for (const int n : {-1, 33, 1000000}) {
    EXPECT_EQ(log.AllocateBuffer(n), -1) << n;
    EXPECT_EQ(log.DeAllocateBuffer(n), -1) << n;
    EXPECT_EQ(log.FlushBufferToFile(n), 0) << n;
  }
  for (const int n : {0, 32}) {
    EXPECT_EQ(log.DeAllocateBuffer(n), -1);
    EXPECT_EQ(log.AllocateBuffer(n), 0);
    EXPECT_EQ(log.AllocateBuffer(n), -1);
    EXPECT_EQ(log.DeAllocateBuffer(n), 0);
    EXPECT_EQ(log.FlushBufferToFileAndDeAllocate(n), 0);
  }
}

TEST_F(LogFileTest, BufferedMode_CollectsUntilFlushed) {
  LogFile log(messages, 1, -1, -1);
  ASSERT_EQ(log.Open(kCreate, Path().c_str()), 1);
  ASSERT_EQ(log.AllocateBuffer(0), 0);
  log.print(0, L"mode off,");
  log.EnterBufferedMode();
  log.print(0, L"<\x01%s>", std::wstring(3000, L'y').c_str());
  for (const int n : {-1, 7, 33, -5}) log.print(n, L"%d,", n);
  const std::wstring section = L"&lt;\x01" + std::wstring(3000, L'y') + L"&gt;";
  EXPECT_EQ(Body(), L"mode off,-1,7,33,-5,");
  EXPECT_NE(log.FlushBufferToFile(0), 0);
  EXPECT_EQ(log.FlushBufferToFileAndDeAllocate(0), -1);
  log.print(0, L"gone,");
  log.LeaveBufferdMode();
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
