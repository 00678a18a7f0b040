#include <memory>
#include <utility>

#include "tests/support/log_file_fixture.h"

namespace vtclass::test {
namespace {

constexpr unsigned kCopied = 1;  // "Copied %s, %d bytes" and two line feeds
constexpr unsigned kMarkup = 2;  // "<b>&"

TEST_F(LogFileTest, WholeLog_IsByteExact) {
  for (const int unicode : {1, 0}) {
    LogFile log(messages, unicode, -1, -1);
    ASSERT_EQ(log.Open(createAlways, path.c_str()), 1);
    EXPECT_STREQ(log.GetFileName(), L"job.log");
    EXPECT_TRUE(log.print(-1, L"&<>'\"\n%s %5d %S\n", L"M\x00FCller", -7, "narrow"));
    EXPECT_TRUE(log.printTMP(-1, (std::wstring(1000, L'\x00FC') + L"&<>'\"\n%s").c_str()));
    EXPECT_TRUE(log.Close());
    EXPECT_TRUE(log.Close());
    EXPECT_EQ(log.GetErrorCode(), 0u);
    if (unicode) {
      EXPECT_EQ(Body(), L"&amp;&lt;&gt;&apos;&quot;\r\nM\x00FCller    -7 narrow\r\n" +
                            std::wstring(1000, L'\x00FC') + L"&<>'\"\r\n%s</joblog>");
    } else {
      const cstring umlaut(wcstring(L"\x00FC"));  // as this system's page has it
      std::string expected =
          "<?xml version=\"1.0\" encoding=\"windows-1252\"?>\r\n<joblog>"
          "<job_log_version version=\"2.0\"/>&amp;&lt;&gt;&apos;&quot;\r\nM" +
          umlaut + "ller    -7 narrow\r\n";
      for (int n = 0; n < 1000; ++n) expected += umlaut;
      EXPECT_EQ(FileBytes(path), expected + "&<>'\"\r\n%s</joblog>");
    }
  }
}

// Every print operation, with its result and what it hands to WriteText.
TEST_F(LogFileTest, EachPrint_WritesItsParts) {
  CollectingLogFile log(messages, 1, -1, -1);
  const wchar_t* const tag = L"<w t=\"%s\">";
  const long umi = static_cast<long>(0xE0008488);
  const std::pair<int, std::wstring> cases[] = {
      {log.print(-1, kCopied, L"a&b", 7), L"Copied a&amp;b, 7 bytes\r\n"},
      {log.printerror(-1, kCopied, L"a", 7), L"Copied a, 7 bytes\r\n"},
      {log.print(-1, 99u), L"\r\n"},  // no such message
      {log.print(-1, 3u), L"\r\n"},   // a line feed alone
      {log.printerror(-1, L"%s<", L"x"), L"x&lt;"},
      {log.printTMPNewLine(-1), L""},
      {log.printTMP(-1, tag, kCopied, L"a<", 7), L"<w t=\"%s\">Copied a&lt;, 7 bytes</w>"},
      {log.printerrorTMP(-1, tag, kMarkup), L"<w t=\"%s\">&lt;b&gt;&amp;</w>"},
      {log.printTMP(-1, tag, L"%d\n", 0), L"<w t=\"%s\">0\r\n</w>"},  // a zero is no va_list
      {log.printerrorTMP(-1, tag, L"%d", 5), L"<w t=\"%s\">5</w>"},
      {log.printTagWithAttribute(-1, tag, L"a&b"), L"<w t=\"a&b\">"},
      {log.printTMPDataWithoutXMLTags(-1, L"[%s]", L"<"), L"[&lt;]"},
      {log.printclosingtag(-1, tag), L"</w>"},
      {log.printclosingtag(-1, L"x <a\tb c>"), L"x </a>"},
      {!log.printclosingtag(-1, L"w>"), L""},
      {log.printerrorUMI(-1, umi, tag, kMarkup),
       L"<w t=\"%s\"><UMI>Q-79-57344-33928</UMI> - &lt;b&gt;&amp;</w>"},
      {log.printerrorUMI(-1, umi & ~0x20000000, tag, L"%s", L"<"), L"<w t=\"%s\"> - &lt;</w>"},
      {log.printerrorUMIDisableConvertXML(-1, 5, tag, kMarkup), L"<w t=\"%s\"> - <b>&</w>"},
      {log.print(-1, L"<%c", L'>'), L"&lt;&gt;"},  // escaping is on again
      {log.print(-1, L"a%cb", 0), L"a"},
      // What no XML document can hold goes from a text; a raw text is the caller's own.
      {log.print(-1, L"\x01\x08\t\x0B\x1F \xDE00\xD83D\xDE00\xD83D\xD83D\xDFFF%c\x9F\xFFFD\xFFFE",
                 0xFFFF),
       L"\t \xD83D\xDE00\xD83D\xDFFF\x9F\xFFFD"},
      {log.printTMP(-1, L"\x01\xD83D\xFFFF"), L"\x01\xD83D\xFFFF"},
      {log.printTMP(-1, L"<&<Utility Partition>, <Utility Partition>"),
       L"<&Utility Partition, <Utility Partition>"},
      {log.printTMP(-1, L"<Utility Partition"), L"<Utility Partition"},
  };
  std::wstring expected;
  for (const auto& [result, text] : cases) {
    EXPECT_NE(result, 0) << text;
    expected += text;
  }
  EXPECT_EQ(log.all, expected);
}

TEST_F(LogFileTest, NullArguments_AreRefused) {
  CollectingLogFile log(messages, 1, -1, -1);
  const wchar_t* const none = nullptr;
  const int results[] = {log.print(-1, none, L"x"),
                         log.printTMP(-1, none),
                         log.printTMP(-1, none, kCopied, L"x", 1),
                         log.printTagWithAttribute(-1, none, L"x"),
                         log.printclosingtag(-1, none),
                         log.FlushWrite(nullptr, 1),
                         log.printTMPdir(-1, none, kMarkup, none),
                         log.printTMPdir(-1, none, kMarkup, L"C:\\")};
  for (const int result : results) EXPECT_EQ(result, 0) << &result - results;
  EXPECT_EQ(log.GetErrorCode(), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(log.all, L"");
}

TEST_F(LogFileTest, Directories_Nest_AndEachBufferHasItsDepth) {
  CollectingLogFile log(messages, 1, -1, -1);
  const auto step = [&](int buffer, const wchar_t* tag, const wchar_t* directory) {
    log.all.clear();
    EXPECT_TRUE(log.printTMPdir(buffer, tag, kMarkup, directory));
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

TEST_F(LogFileTest, Append_BeginsAnotherDocument_ButNotInAnEmptyFile) {
  for (const int mode : {createNew, append}) {
    // Half a character would shift all that follows it.
    if (mode == append) MakeFile(path, FileBytes(path) + "!");
    LogFile log(messages, 1, -1, -1);
    EXPECT_TRUE(log.Open(mode, path.c_str()));
    EXPECT_TRUE(log.print(-1, L"x"));
  }  // the destructor closes
  EXPECT_EQ(Body(), L"x</joblog>" + kUnicodeHeader.substr(1) + L"x</joblog>");
  LogFile log(messages, 0, -1, -1);
  EXPECT_TRUE(log.Open(createNew, (folder / L"other.log").c_str()));
  EXPECT_TRUE(log.Close());
  MakeFile(path, "");
  EXPECT_EQ(log.Open(append, path.c_str()), 0);
  EXPECT_NE(log.GetErrorCode(), 0u);
  EXPECT_TRUE(log.print(-1, L"text"));
  EXPECT_TRUE(log.Close());
  EXPECT_EQ(FileBytes(path), "text");
}

TEST_F(LogFileTest, Open_Failures_LeaveTheLogClosed) {
  LogFile log(messages, 1, -1, -1);
  const std::tuple<int, std::wstring, DWORD> cases[] = {
      {append, folder / L"missing.log", ERROR_FILE_NOT_FOUND},
      {createAlways, folder / L"missing\\job.log", ERROR_PATH_NOT_FOUND},
      {createNew, path, ERROR_FILE_EXISTS},
      {3, path, ERROR_INVALID_PARAMETER},
      {-1, path, ERROR_INVALID_PARAMETER},
      {createAlways, L"", ERROR_PATH_NOT_FOUND}};
  for (const auto& [mode, name, error] : cases) {
    ASSERT_EQ(log.Open(createAlways, path.c_str()), 1);
    EXPECT_EQ(log.Open(mode, name.empty() ? nullptr : name.c_str()), 0) << name;
    EXPECT_EQ(log.GetErrorCode(), error) << name;
    EXPECT_EQ(log.print(-1, L"lost"), 0);
    EXPECT_EQ(log.GetErrorCode(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(Body(), L"</joblog>");
  }
}

TEST_F(LogFileTest, Factory_ReturnsTheLog_AlsoWhenItIsClosed) {
  LogFileFactory factory(messages, 0);
  const std::unique_ptr<LogFile> first(factory.Create(path.c_str()));
  EXPECT_TRUE(first->print(-1, kMarkup));
  EXPECT_EQ(Body(), L"&lt;b&gt;&amp;\r\n");
  const std::unique_ptr<LogFile> second(factory.Create(path.c_str()));
  EXPECT_EQ(second->GetErrorCode(), DWORD{ERROR_FILE_EXISTS});
}

}  // namespace
}  // namespace vtclass::test
