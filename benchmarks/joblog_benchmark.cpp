#include <vtclass/win32.h>

#include <benchmark/benchmark.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/basic_file_sink.h>

#include <cstring>
#include <string>

#include "messages/message_ids.h"
#include "platform/meant_call.h"
#include "platform/owned.h"
#include "vtclass/log.h"

using vtclass::platform::OwnedFile;

namespace {

constexpr wchar_t kOurFile[] = L"joblog_benchmark.log";
constexpr wchar_t kRawFile[] = L"joblog_benchmark_raw.log";
constexpr char kPeerFile[] = "joblog_benchmark_peer.log";

// A line of 100 characters with its line feed, as an agent writes it for every file.
constexpr wchar_t kFormat[] = L"Backed up %s, %u files, %u KB, status %d\n";
constexpr wchar_t kPath[] = LR"(C:\Users\Public\Documents\Quarterly figures\report.xlsx)";
constexpr char kPeerFormat[] = "Backed up {}, {} files, {} KB, status {}";
constexpr char kNarrowPath[] = R"(C:\Users\Public\Documents\Quarterly figures\report.xlsx)";
constexpr std::size_t kLineUnits = 101;

enum Encoding : int { ansi = 0, unicode = 1 };

void PrintLine(LogFile& log) { log.print(-1, kFormat, kPath, 12345u, 987654u, 0); }

void OurLine(benchmark::State& state, Encoding encoding) {
  StringResourceMgr messages;
  LogFile log(messages, encoding, -1, -1);
  log.Open(0, kOurFile);
  for (auto _ : state) PrintLine(log);
  if (log.GetErrorCode() != 0) state.SkipWithError("a print failed");
}

// An entry by message number: three texts, so three writes.
void OurEntry(benchmark::State& state) {
  StringResourceMgr messages(L"vterrors.dll");
  LogFile log(messages, unicode, -1, -1);
  log.Open(0, kOurFile);
  for (auto _ : state) log.printTMP(-1, kTagJobName, MSG_JOB_NAME, kPath);
  if (log.GetErrorCode() != 0) state.SkipWithError("a print failed");
}

void RawWrite(benchmark::State& state, Encoding encoding) {
  const std::size_t size = kLineUnits * (encoding == unicode ? 2 : 1);
  const OwnedFile file(::CreateFileW(kRawFile, GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                     CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  const std::string line(size, 'x');
  for (auto _ : state) {
    DWORD written = 0;
    if (!::WriteFile(file.Get(), line.data(), static_cast<DWORD>(size), &written, nullptr)) {
      state.SkipWithError("a write failed");
      return;
    }
  }
}

// The peer writes half the bytes of our UTF-16 line: it knows narrow text only.
void PeerLine(benchmark::State& state) {
  auto sink = std::make_shared<spdlog::sinks::basic_file_sink_st>(kPeerFile, true);
  spdlog::logger logger("job", sink);
  logger.set_pattern("%v");
  logger.flush_on(spdlog::level::trace);
  for (auto _ : state) logger.info(kPeerFormat, kNarrowPath, 12345u, 987654u, 0);
}

// Everything but the write.
class SilentLog : public LogFile {
 public:
  using LogFile::LogFile;
  int WriteText() override {
    benchmark::DoNotOptimize(PendingText());
    return 1;
  }
};

void OurText(benchmark::State& state) {
  StringResourceMgr messages;
  SilentLog log(messages, unicode, -1, -1);
  for (auto _ : state) PrintLine(log);
}

int FormatAlone(wchar_t* out, std::size_t size, const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  VTCLASS_MEANT_BEGIN
  const int length = _vsnwprintf(out, size, format, arguments);
  VTCLASS_MEANT_END
  va_end(arguments);
  return length;
}

void RawFormat(benchmark::State& state) {
  wchar_t line[256];
  for (auto _ : state) {
    benchmark::DoNotOptimize(FormatAlone(line, 256, kFormat, kPath, 12345u, 987654u, 0));
  }
}

std::wstring Text(std::size_t length, std::size_t markupEach) {
  std::wstring text(length, L'x');
  for (std::size_t n = markupEach; n < length && markupEach != 0; n += markupEach) text[n] = L'&';
  return text;
}

void OurLong(benchmark::State& state, std::size_t length, int times, std::size_t markupEach) {
  StringResourceMgr messages;
  SilentLog log(messages, unicode, -1, -1);
  const std::wstring text = Text(length, markupEach);
  for (auto _ : state) {
    for (int n = 0; n < times; ++n) log.print(-1, L"%s", text.c_str());
  }
}

void RawCopy(benchmark::State& state, std::size_t length) {
  const std::wstring text(length, L'x');
  std::wstring copy(length, L'\0');
  for (auto _ : state) {
    std::memcpy(copy.data(), text.data(), length * sizeof(wchar_t));
    benchmark::DoNotOptimize(copy.data());
  }
}

BENCHMARK_CAPTURE(OurLine, wide, unicode)->Name("JobLog/Line100Utf16/ours");
BENCHMARK_CAPTURE(RawWrite, wide, unicode)->Name("JobLog/Line100Utf16/limit_writefile");
BENCHMARK(PeerLine)->Name("JobLog/Line100Utf16/peer_spdlog");
BENCHMARK_CAPTURE(OurLine, narrow, ansi)->Name("JobLog/Line100Ansi/ours");
BENCHMARK_CAPTURE(RawWrite, narrow, ansi)->Name("JobLog/Line100Ansi/limit_writefile");
BENCHMARK(PeerLine)->Name("JobLog/Line100Ansi/peer_spdlog");
BENCHMARK(OurText)->Name("JobLog/Line100Unwritten/ours");
BENCHMARK(RawFormat)->Name("JobLog/Line100Unwritten/limit_vsnwprintf");
BENCHMARK_CAPTURE(OurLong, million, 1000000, 1, 0)->Name("JobLog/Million/ours");
BENCHMARK_CAPTURE(OurLong, hundred_thousand, 100000, 10, 0)->Name("JobLog/Million/ten_of_100000");
BENCHMARK_CAPTURE(OurLong, marked, 30000, 1, 20)->Name("JobLog/Escaped30000/ours");
BENCHMARK_CAPTURE(OurLong, clean, 30000, 1, 0)->Name("JobLog/Escaped30000/same_without_markup");
BENCHMARK_CAPTURE(RawCopy, marked, 30000)->Name("JobLog/Escaped30000/limit_memcpy");
BENCHMARK(OurEntry)->Name("JobLog/MessageEntry/ours");
BENCHMARK_CAPTURE(RawWrite, entry, unicode)->Name("JobLog/MessageEntry/a_third_of_its_writes");
BENCHMARK_CAPTURE(RawCopy, million, 1000000)->Name("JobLog/Million/limit_memcpy");

}  // namespace

BENCHMARK_MAIN();
