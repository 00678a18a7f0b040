#include <vtclass/win32.h>

#include <benchmark/benchmark.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <memory>
#include <string>

#include "platform/owned.h"
#include "vtclass/config.h"
#include "vtclass/debug_log.h"

using vtclass::platform::OwnedFile;

namespace {

constexpr wchar_t kOurFile[] = L"debuglog_benchmark.log";
constexpr wchar_t kRawFile[] = L"debuglog_benchmark_raw.log";
constexpr char kPeerFile[] = "debuglog_benchmark_peer.log";

// A line of 100 characters, with its line end 102, as a component traces it.
constexpr wchar_t kFormat[] = L"Backed up %s, %u files, %u KB, status %d\n";
constexpr wchar_t kPath[] = LR"(C:\Users\Public\Documents\Quarterly figures\report.xlsx)";
constexpr char kPeerFormat[] = "Backed up {}, {} files, {} KB, status {}";
constexpr char kNarrowPath[] = R"(C:\Users\Public\Documents\Quarterly figures\report.xlsx)";
constexpr std::size_t kLineUnits = 102;

// 40 MB in 4 files: a roll after each 10 MB, with us and with the peer.
constexpr std::size_t kFileBytes = 10 << 20;
constexpr std::size_t kFiles = 4;

enum Encoding : int { ansi = 0, unicode = 1 };
enum Limit { endless, rotating };

// The logging key in a registry of the benchmark's own, without or with limits.
class Settings {
 public:
  explicit Settings(Limit limit) {
    ::RegDeleteTreeW(HKEY_CURRENT_USER, kRoot);
    ::RegCreateKeyW(HKEY_CURRENT_USER, kRoot, &root);
    ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, root);
    Configuration key;
    key.Open(LR"(Software\Norvane\Vantorel For Windows\Vantorel\Engine\Logging)", nullptr, 3);
    key.SaveDWORD(L"MaxDebugFile Enabled", limit == rotating);
    key.SaveDWORD(L"MaxDebugFile Size In MB", kFiles * kFileBytes >> 20);
    key.SaveDWORD(L"MaxDebugFile Count", kFiles);
  }
  ~Settings() {
    ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    ::RegCloseKey(root);
    ::RegDeleteTreeW(HKEY_CURRENT_USER, kRoot);
  }

 private:
  static constexpr wchar_t kRoot[] = L"Software\\vtclass_mini debuglog benchmark";
  HKEY root = nullptr;
};

// What the threads of one run share: made before they begin, gone after the last has ended.
std::unique_ptr<DebugLog> ourLog;
std::unique_ptr<spdlog::logger> peerLog;
HANDLE rawFile = INVALID_HANDLE_VALUE;

template <Encoding encoding, Limit limit>
void MakeOurs(const benchmark::State&) {
  const Settings settings(limit);
  StringResourceMgr messages;
  ourLog = std::make_unique<DebugLog>(messages, encoding, nullptr);
  ourLog->Open(DebugLog::createAlways, kOurFile);
}

void OurLine(benchmark::State& state) {
  for (auto _ : state) ourLog->print(kFormat, kPath, 12345u, 987654u, 0);
  if (ourLog->GetErrorCode() != 0) state.SkipWithError("a print failed");
}

void OurTeardown(const benchmark::State&) { ourLog.reset(); }

template <Limit limit>
void MakePeer(const benchmark::State&) {
  spdlog::sink_ptr sink;
  if (limit == rotating) {
    sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(kPeerFile, kFileBytes, kFiles);
  } else {
    sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(kPeerFile, true);
  }
  peerLog = std::make_unique<spdlog::logger>("trace", sink);
  peerLog->set_pattern("%v");
  peerLog->flush_on(spdlog::level::trace);
}

// The peer writes half the bytes of our UTF-16 line: it knows narrow text only.
void PeerLine(benchmark::State& state) {
  for (auto _ : state) peerLog->info(kPeerFormat, kNarrowPath, 12345u, 987654u, 0);
}

void PeerTeardown(const benchmark::State&) { peerLog.reset(); }

void MakeRaw(const benchmark::State&) {
  rawFile = ::CreateFileW(kRawFile, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                          FILE_ATTRIBUTE_NORMAL, nullptr);
}

void RawWrite(benchmark::State& state, Encoding encoding) {
  const std::string line(kLineUnits * (encoding == unicode ? 2 : 1), 'x');
  for (auto _ : state) {
    DWORD written = 0;
    if (!::WriteFile(rawFile, line.data(), static_cast<DWORD>(line.size()), &written, nullptr)) {
      state.SkipWithError("a write failed");
      return;
    }
  }
}

void RawTeardown(const benchmark::State&) { const OwnedFile closing(rawFile); }

using MakeLog = void (*)(const benchmark::State&);

void Register(Encoding encoding, Limit limit, int threads) {
  static constexpr MakeLog kMakeOurs[2][2] = {
      {MakeOurs<ansi, endless>, MakeOurs<ansi, rotating>},
      {MakeOurs<unicode, endless>, MakeOurs<unicode, rotating>}};
  static constexpr MakeLog kMakePeer[2] = {MakePeer<endless>, MakePeer<rotating>};
  const std::string name = std::string("DebugLog/") + (encoding == unicode ? "Utf16" : "Ansi") +
                           (limit == rotating ? "Rotating" : "") + (threads > 1 ? "By4" : "By1");
  // One wall clock for all threads; the time is that of a line, whoever prints it.
  benchmark::RegisterBenchmark((name + "/ours").c_str(), OurLine)
      ->Setup(kMakeOurs[encoding][limit])
      ->Teardown(OurTeardown)
      ->Threads(threads)
      ->UseRealTime();
  benchmark::RegisterBenchmark((name + "/limit_writefile").c_str(),
                               [encoding](benchmark::State& state) { RawWrite(state, encoding); })
      ->Setup(MakeRaw)
      ->Teardown(RawTeardown)
      ->Threads(threads)
      ->UseRealTime();
  benchmark::RegisterBenchmark((name + "/peer_spdlog").c_str(), PeerLine)
      ->Setup(kMakePeer[limit])
      ->Teardown(PeerTeardown)
      ->Threads(threads)
      ->UseRealTime();
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  for (const Encoding encoding : {unicode, ansi}) {
    for (const Limit limit : {endless, rotating}) {
      for (const int threads : {1, 4}) Register(encoding, limit, threads);
    }
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
