#include <functional>

#include "tests/support/allocations.h"
#include "tests/support/log_file_fixture.h"

namespace vtclass::test {
namespace {

// 256, 384, ... : the first of them that is at least `needed`.
std::size_t Grown(std::size_t needed) { return needed <= 256 ? 256 : (needed + 127) / 128 * 128; }

// The capacities that growing step by step would reach, without its copying.
TEST_F(LogFileTest, Capacities_GrowBy128_AndStay) {
  for (const std::size_t length : {1u, 250u, 251u, 255u, 256u, 383u, 384u, 33790u, 33791u}) {
    CollectingLogFile log(messages, 1, -1, -1);
    const std::wstring text(length - 1, L'x');
    EXPECT_TRUE(log.print(-1, L"%s\"", text.c_str()));
    EXPECT_EQ(log.last, text + L"&quot;");
    EXPECT_TRUE(log.print(-1, L"y"));
    EXPECT_EQ(log.FormatCapacity(), Grown(length + 1)) << length;
    // The last character begins more than 6 before the end.
    EXPECT_EQ(log.OutputCapacity(), Grown(length + 6)) << length;
  }
}

TEST_F(LogFileTest, OversizedText_IsWrittenWhole_AndTheOutputShrinks) {
  CollectingLogFile log(messages, 1, -1, -1);
  for (const std::size_t length : {33792u, 33793u, 1000000u}) {
    const std::wstring text(length, L'x');
    for (const wchar_t* format : {L"%ws&", L"%s&"}) {  // the run time's formatter and our own
      EXPECT_TRUE(log.print(-1, format, text.c_str()));
      EXPECT_EQ(log.last, text + L"&amp;");
      EXPECT_EQ(log.FormatCapacity(), 33792u);
      EXPECT_EQ(log.OutputCapacity(), 256u);
    }
  }
}

TEST_F(LogFileTest, SteadyState_AllocatesNothing) {
  LogFile log(messages, 0, -1, -1);
  ASSERT_EQ(log.Open(createAlways, path.c_str()), 1);
  const auto print = [&] {
    log.print(-1, L"%s %5d\n", L"text", 1);
    log.printerrorUMI(-1, 0x20000001, L"<Warning Type=\"long\">", 1u, L"a", 2);
    log.printTMPdir(-1, L"<directory>", 1u, L"C:\\a\\b");
  };
  print();
  const Allocations allocations;
  print();
  EXPECT_EQ(allocations.Count(), 0);
}

// Whatever allocation fails, the print says so and the next one works.
TEST_F(LogFileTest, FailingAllocation_EndsOnePrint) {
  const std::wstring medium(1000, L'&');
  const std::wstring large(40000, L'&');
  const std::function<int(LogFile&)> prints[] = {
      [&](LogFile& log) { return log.print(-1, L"%s", medium.c_str()); },
      [&](LogFile& log) { return log.print(-1, L"%s", large.c_str()); },
      [&](LogFile& log) { return log.print(-1, 1u, L"long enough for a heap text", 1); },
      [&](LogFile& log) { return log.printTMPdir(-1, L"<a_long_tag>", 2u, L"C:"); },
      [&](LogFile& log) { return log.AllocateBuffer(3) + 1; },
      [&](LogFile& log) { return log.Open(createAlways, path.c_str()); }};
  for (const auto& print : prints) {
    int failures = 0;
    bool failed = true;
    for (long n = 1; failed; ++n) {
      StringResourceMgr fresh;  // nothing cached
      CollectingLogFile log(fresh, 0, -1, -1);
      int result = 0;
      {
        Allocations allocations;
        allocations.FailAt(n);
        result = print(log);
        failed = allocations.Failed();
      }
      failures += result == 0;
      EXPECT_TRUE(failed || result != 0);
      if (result == 0) EXPECT_EQ(log.GetErrorCode(), DWORD{ERROR_NOT_ENOUGH_MEMORY}) << n;
      EXPECT_TRUE(log.print(-1, L"%s", medium.c_str())) << n;
      EXPECT_EQ(log.last.size(), 5 * medium.size()) << n;
      log.DeAllocateBuffer(3);
    }
    EXPECT_GT(failures, 0);
  }
}

TEST_F(LogFileTest, Fault_EndsOnePrint_WithItsCode) {
  LogFile log(messages, 1, -1, -1);
  ASSERT_EQ(log.Open(createAlways, path.c_str()), 1);
  const auto* const nowhere = reinterpret_cast<const wchar_t*>(std::uintptr_t{16});
  EXPECT_EQ(log.print(-1, L"%s", nowhere), 0);
  EXPECT_EQ(log.GetErrorCode(), DWORD{EXCEPTION_ACCESS_VIOLATION});
  EXPECT_EQ(log.print(-1, L"%s%5ws", std::wstring(40000, L'x').c_str(), nowhere), 0);
  EXPECT_EQ(log.printTMP(-1, L"<t>", L"%5ws", nowhere), 0);
  EXPECT_EQ(log.printTMP(-1, nowhere, 1u, L"x", 1), 0);
  EXPECT_EQ(log.printTMPdir(-1, nowhere, 1u, L"x") + log.printTMPdir(-1, L"<d>", 1u, nowhere), 0);
  EXPECT_TRUE(log.print(-1, L"good"));
  EXPECT_EQ(Body(), L"<t></t>good");
}

struct ThrowingLogFile : LogFile {
  using LogFile::LogFile;
  int WriteText() override { throw 1; }
};

TEST_F(LogFileTest, Exception_EndsOnePrint) {
  ThrowingLogFile log(messages, 1, -1, -1);
  wchar_t text[] = L"x";
  EXPECT_EQ(log.print(-1, text) + log.FlushWrite(text, 1), 0);
  EXPECT_EQ(log.GetErrorCode(), 0u);
}

std::string ToPage(UINT page, const std::wstring& text) {
  std::string bytes(text.size() * 3, '\0');
  bytes.resize(static_cast<std::size_t>(
      ::WideCharToMultiByte(page, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                            static_cast<int>(bytes.size()), nullptr, nullptr)));
  return bytes;
}

// The system likes to put "<" for U+FF1C, behind the escaping.
TEST_F(LogFileTest, AnsiText_BecomesNoMarkup) {
  const std::wstring likenesses = L"\xFF1C\x2329\x3008\xFF1E\xFF06\xFF02\x2033\xFF07\x2032";
  const std::wstring text = L"[" + likenesses + L"\x81\x8D\x8F\x90\x9D\x20AC" + L"]";
  const std::wstring longText(1000, L'\xFF1C');
  const auto bodyOf = [&] {
    LogFile log(messages, 0, -1, -1);
    EXPECT_EQ(log.Open(createAlways, path.c_str()), 1);
    const std::size_t header = FileBytes(path).size();
    EXPECT_TRUE(log.print(-1, L"%s", text.c_str()));
    EXPECT_TRUE(log.print(-1, longText.c_str()));
    return FileBytes(path).substr(header);
  };
  const std::string body = bodyOf();
  EXPECT_EQ(body.find_first_of("<>&\"'"), std::string::npos) << body;
  if (::GetACP() == 1252) {
    EXPECT_EQ(body, "[" + std::string(likenesses.size() + 5, '?') + "\x80]" +
                        std::string(longText.size(), '?'));
  }
  // UTF-8 as the system's page: no flags are taken.
  const auto page = Replace<decltype(::GetACP)>("GetACP", [] { return UINT{CP_UTF8}; });
  const auto convert = Replace<decltype(::WideCharToMultiByte)>(
      "WideCharToMultiByte", [](auto, DWORD flags, auto... rest) {
        if (flags == 0) return ::WideCharToMultiByte(CP_UTF8, 0, rest...);
        return ::SetLastError(ERROR_INVALID_FLAGS), 0;
      });
  EXPECT_EQ(bodyOf(), ToPage(CP_UTF8, text + longText));
}

TEST_F(LogFileTest, RefusedFormatOrConversion_EndsOnePrint) {
  LogFile log(messages, 0, -1, -1);
  ASSERT_EQ(log.Open(createAlways, path.c_str()), 1);
  int written = -7;
  EXPECT_EQ(log.print(-1, L"a%n", &written), 0);
  EXPECT_EQ(log.GetErrorCode(), DWORD{ERROR_INVALID_DATA});
  EXPECT_EQ(written, -7);
  const auto refuse = Replace<decltype(::WideCharToMultiByte)>("WideCharToMultiByte", [](auto...) {
    return ::SetLastError(ERROR_NO_UNICODE_TRANSLATION), 0;
  });
  EXPECT_EQ(log.print(-1, L"\xFC"), 0);
  EXPECT_EQ(log.GetErrorCode(), DWORD{ERROR_NO_UNICODE_TRANSLATION});
}

}  // namespace
}  // namespace vtclass::test
