#include <memory>

#include "log/log_file_fixture.h"

namespace vtclass::test {
namespace {

constexpr unsigned kCopied = 1;  // "Copied %s, %d bytes" and two line feeds
constexpr unsigned kMarkup = 2;  // "<b>&"
constexpr unsigned kMissing = 99;
constexpr long kWithUmi = static_cast<long>(0xE0008488);

TEST_F(LogFileTest, Unicode_WholeLog_IsByteExact) {
  LogFile log(messages, 1, -1, -1);
  ASSERT_EQ(log.Open(kCreateNew, Path().c_str()), 1);
  EXPECT_STREQ(log.GetFileName(), L"job.log");
  EXPECT_TRUE(log.print(-1, L"&<>'\"\n%s %d %ws\n", L"\x4E2D", -7, L"x\x07"));
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
  EXPECT_TRUE(log.print(-1, L"%s", std::wstring(1000, L'\x00FC').c_str()));
  EXPECT_EQ(log.Close(), 1);
  EXPECT_EQ(FileBytes(Path()), kAnsiHeader + std::string("M\xFCller &amp; narrow\r\n") +
                                   std::string(1000, '\xFC') + "</joblog>");
}

// Every print operation, with its result and what it hands to WriteText.
TEST_F(LogFileTest, EachPrint_WritesItsParts) {
  CollectingLogFile log(messages, 1, -1, -1);
  const wchar_t* const tag = L"<w t=\"%s\">";
  const struct {
    int result;
    const wchar_t* text;
  } cases[] = {
      {log.print(-1, kCopied, L"a&b", 7), L"Copied a&amp;b, 7 bytes\r\n"},
      {log.printerror(-1, kCopied, L"a", 7), L"Copied a, 7 bytes\r\n"},
      {log.print(-1, kMissing), L"\r\n"},
      {log.print(-1, 3u), L"\r\n"},
      {log.printerror(-1, L"%s<", L"x"), L"x&lt;"},
      {log.printTMPNewLine(-1), L""},
      {log.printTMP(-1, tag, kCopied, L"a<", 7), L"<w t=\"%s\">Copied a&lt;, 7 bytes</w>"},
      {log.printerrorTMP(-1, tag, kMarkup), L"<w t=\"%s\">&lt;b&gt;&amp;</w>"},
      {log.printTMP(-1, tag, L"%d\n", 5), L"<w t=\"%s\">5\r\n</w>"},
      {log.printerrorTMP(-1, tag, L"%d", 5), L"<w t=\"%s\">5</w>"},
      {log.printTagWithAttribute(-1, tag, L"a&b"), L"<w t=\"a&b\">"},
      {log.printTMPDataWithoutXMLTags(-1, L"[%s]", L"<"), L"[&lt;]"},
      {log.printclosingtag(-1, tag), L"</w>"},
      {!log.printclosingtag(-1, L"w>"), L""},
      {log.printerrorUMI(-1, kWithUmi, tag, kMarkup),
       L"<w t=\"%s\"><UMI>Q-79-57344-33928</UMI> - &lt;b&gt;&amp;</w>"},
      {log.printerrorUMI(-1, 5, tag, L"%s", L"<"), L"<w t=\"%s\"> - &lt;</w>"},
      {log.printerrorUMIDisableConvertXML(-1, 5, tag, kMarkup), L"<w t=\"%s\"> - <b>&</w>"},
      {log.print(-1, L"<%c", L'>'), L"&lt;&gt;"},  // escaping is on again
      {log.print(-1, L"a%cb", 0), L"a"},           // a zero is no va_list, and ends the text
      {log.printTMP(-1, tag, L"%d%d", 0, 1), L"<w t=\"%s\">01</w>"},
      {log.print(-1, L"<Utility Partition> %s", L"x"), L"Utility Partition x"},
  };
  std::wstring expected;
  for (const auto& row : cases) {
    EXPECT_NE(row.result, 0) << row.text;
    expected += row.text;
  }
  EXPECT_EQ(log.all, expected);
}

TEST_F(LogFileTest, NullAndTaglessArguments_AreRefused) {
  CollectingLogFile log(messages, 1, -1, -1);
  const wchar_t* const none = nullptr;
  EXPECT_EQ(log.print(-1, none, L"x"), 0);
  EXPECT_EQ(log.printTMP(-1, none), 0);
  EXPECT_EQ(log.printTMP(-1, none, kCopied, L"x", 1), 0);
  EXPECT_EQ(log.printTagWithAttribute(-1, none, L"x"), 0);
  EXPECT_EQ(log.printclosingtag(-1, none), 0);
  EXPECT_EQ(log.FlushWrite(nullptr, 1), 0);
  EXPECT_EQ(log.printTMPdir(-1, none, kMarkup, none), 0);
  EXPECT_EQ(log.printTMPdir(-1, none, kMarkup, L"C:\\"), 0);
  EXPECT_EQ(log.GetErrorCode(), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(log.all, L"");
}

TEST_F(LogFileTest, Directories_Nest_AndEachBufferHasItsDepth) {
  CollectingLogFile log(messages, 1, -1, -1);
  const auto step = [&](int buffer, const wchar_t* tag, const wchar_t* path) {
    log.all.clear();
    EXPECT_TRUE(log.printTMPdir(buffer, tag, kMarkup, path));
    return log.all;
  };
  const std::wstring entry = L"<directory_name>&lt;b&gt;&amp;</directory_name>";
  EXPECT_EQ(step(-1, L"<d x>", L"C:\\a"), L"<d x><d x>" + entry);
  EXPECT_EQ(step(-1, nullptr, L"C:\\a\\b"), L"<d x><d x>" + entry);
  EXPECT_EQ(step(-1, nullptr, L"C:\\b"), L"</d></d></d><d x>" + entry);
  EXPECT_EQ(step(5, nullptr, L"C:"), L"<d x>" + entry);
  EXPECT_EQ(step(77, nullptr, nullptr), L"</d></d>");  // -1 by another name
  EXPECT_EQ(step(-1, nullptr, nullptr), L"");
  EXPECT_EQ(step(5, L"<d x>", L""), L"</d>");
}

TEST_F(LogFileTest, Append_BeginsAnotherDocument) {
  const std::wstring document = std::wstring(kUnicodeHeader) + L"x" + kEnd;
  for (const int mode : {kCreate, kAppend}) {
    LogFile log(messages, 1, -1, -1);
    ASSERT_EQ(log.Open(mode, Path().c_str()), 1);
    log.print(-1, L"x");
  }  // the destructor closes
  EXPECT_EQ(Written(), document + document.substr(1));
}

TEST_F(LogFileTest, Append_ToEmptyFile_FailsButStaysOpen) {
  MakeFile(Path(), "");
  LogFile log(messages, 0, -1, -1);
  EXPECT_EQ(log.Open(kAppend, Path().c_str()), 0);
  EXPECT_NE(log.GetErrorCode(), 0u);
  EXPECT_TRUE(log.print(-1, L"text"));
  EXPECT_EQ(log.Close(), 1);
  EXPECT_EQ(FileBytes(Path()), "text");
}

TEST_F(LogFileTest, Open_Failures_LeaveTheLogClosed) {
  LogFile log(messages, 1, -1, -1);
  const struct {
    int mode;
    const wchar_t* name;
    DWORD error;
  } cases[] = {{kAppend, L"missing.log", ERROR_FILE_NOT_FOUND},
               {kCreate, L"missing\\job.log", ERROR_PATH_NOT_FOUND},
               {kCreateNew, L"job.log", ERROR_FILE_EXISTS},
               {3, L"job.log", ERROR_INVALID_PARAMETER},
               {-1, L"job.log", ERROR_INVALID_PARAMETER}};
  for (const auto& row : cases) {
    ASSERT_EQ(log.Open(kCreate, Path().c_str()), 1);
    EXPECT_EQ(log.Open(row.mode, (folder / row.name).c_str()), 0) << row.name;
    EXPECT_EQ(log.GetErrorCode(), row.error) << row.name;
    EXPECT_EQ(log.print(-1, L"lost"), 0);
    EXPECT_EQ(log.GetErrorCode(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(Written(), std::wstring(kUnicodeHeader) + kEnd);
  }
  EXPECT_EQ(log.Open(kCreate, nullptr), 0);
  EXPECT_EQ(log.Open(kCreate, L""), 0);
  EXPECT_EQ(log.GetErrorCode(), DWORD{ERROR_PATH_NOT_FOUND});
}

TEST_F(LogFileTest, Factory_ReturnsTheLog_AlsoWhenItIsClosed) {
  LogFileFactory factory(messages, 0);
  const std::unique_ptr<LogFile> first(factory.Create(Path().c_str()));
  EXPECT_TRUE(first->print(-1, kMarkup));
  EXPECT_EQ(Body(), L"&lt;b&gt;&amp;\r\n");
  const std::unique_ptr<LogFile> second(factory.Create(Path().c_str()));
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(second->GetErrorCode(), DWORD{ERROR_FILE_EXISTS});
  EXPECT_EQ(second->print(-1, L"x"), 0);
}

}  // namespace
}  // namespace vtclass::test
