#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "tests/support/import_hook.h"
#include "vtstdutl/vtstdutl.h"

namespace {

using vtclass::test::ImportHook;

std::wstring debugger;
void WINAPI KeepDebugText(LPCWSTR text) { debugger += text; }

struct Kept {
  std::wstring text;
  static void Sink(const wchar_t* source, unsigned long level, const wchar_t* text, void* context) {
    static_cast<Kept*>(context)->text +=
        std::wstring(source) + L"/" + std::to_wstring(level) + L"/" + text + L";";
  }
};

class Trace : public ::testing::Test {
 protected:
  Trace() { debugger.clear(); }
  ~Trace() override { VTSetTraceSink(nullptr, nullptr); }

  ImportHook<decltype(::OutputDebugStringW)> hook{
      "KERNEL32.dll", "OutputDebugStringW", &KeepDebugText, ::GetModuleHandleW(L"vtstdutl.dll")};
  Kept kept;
};

TEST_F(Trace, Text_GoesToTheSinkAndOtherwiseToTheDebugger) {
  ::SetLastError(4711);
  VTTrace(L"net", 2, L"%s has %d\n", L"host", 7);
  EXPECT_EQ(debugger, L"net: host has 7\n");
  VTTrace(nullptr, 1, nullptr);
  EXPECT_EQ(debugger, L"net: host has 7\n: \n");
  debugger.clear();
  VTSetTraceSink(&Kept::Sink, &kept);
  VTTrace(L"net", 2, L"%s\n\n", L"host");
  EXPECT_EQ(kept.text, L"net/2/host;");
  EXPECT_EQ(debugger, L"");
  EXPECT_EQ(::GetLastError(), 4711u);
}

TEST_F(Trace, LongText_IsCut) {
  VTSetTraceSink(&Kept::Sink, &kept);
  const std::wstring text(3000, L'x');
  VTTrace(L"a", 1, L"%s", text.c_str());
  EXPECT_EQ(kept.text, L"a/1/" + text.substr(0, 1023) + L";");
  VTSetTraceSink(nullptr, nullptr);
  debugger.clear();
  VTTrace(text.c_str(), 1, L"%s", text.c_str());
  EXPECT_EQ(debugger, text.substr(0, 128) + L": " + text.substr(0, 1023) + L"\n");
}

// A host frees its log right after it has taken the sink away.
TEST_F(Trace, SettingASink_WaitsForThreadsInTheFormerOne) {
  std::atomic<bool> stop = false;
  std::thread tracer([&] {
    while (!stop) VTTrace(L"t", 1, L"x");
  });
  for (int round = 0; round < 200; ++round) {
    const auto sink = [](const wchar_t*, unsigned long, const wchar_t*, void* context) {
      EXPECT_EQ(*static_cast<std::atomic<int>*>(context), 1) << "the context is gone";
      ::SwitchToThread();
    };
    std::atomic<int> alive = 1;
    VTSetTraceSink(sink, &alive);
    ::SwitchToThread();
    VTSetTraceSink(nullptr, nullptr);
    alive = 0;
  }
  stop = true;
  tracer.join();
}

}  // namespace
