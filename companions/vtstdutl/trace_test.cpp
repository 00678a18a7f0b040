#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "platform/owned.h"
#include "tests/support/eventually.h"
#include "tests/support/import_hook.h"
#include "vtstdutl/vtstdutl.h"

namespace {

using vtclass::platform::OwnedKernelObject;
using vtclass::test::ImportHook;
using vtclass::test::kLimit;

std::wstring debugger;
void WINAPI KeepDebugText(LPCWSTR text) {
  debugger += text;
  ::SetLastError(ERROR_GEN_FAILURE);
}

struct Kept {
  std::wstring text;
  static void Sink(const wchar_t* source, unsigned long level, const wchar_t* text, void* context) {
    static_cast<Kept*>(context)->text +=
        std::wstring(source) + L"/" + std::to_wstring(level) + L"/" + text + L";";
    ::SetLastError(1);
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
  EXPECT_EQ(::GetLastError(), 4711u);
  debugger.clear();
  VTSetTraceSink(&Kept::Sink, &kept);
  VTTrace(L"net", 2, L"%s\r\n\n\r\n", L"ho\r\nst");
  EXPECT_EQ(kept.text, L"net/2/ho\r\nst;");
  EXPECT_EQ(debugger, L"");
  EXPECT_EQ(::GetLastError(), 4711u);
}

TEST_F(Trace, LongText_IsCut) {
  VTSetTraceSink(&Kept::Sink, &kept);
  const std::wstring text(3000, L'x');
  VTTrace(L"a", 1, L"%s", text.c_str());
  EXPECT_EQ(kept.text, L"a/1/" + text.substr(0, 1023) + L";");
  // A character of two units is not halved; half a one that is no cut's work stays.
  for (const auto& [before, after] : {std::pair{1021u, 1023u}, std::pair{1022u, 1022u}}) {
    kept.text.clear();
    const std::wstring pair = text.substr(0, before) + L"\xD83D\xDE00y";
    VTTrace(L"a", 1, L"%s", pair.c_str());
    EXPECT_EQ(kept.text, L"a/1/" + pair.substr(0, after) + L";");
  }
  kept.text.clear();
  const std::wstring half = text.substr(0, 1022) + L"\xD83D";
  VTTrace(L"a", 1, L"%s", half.c_str());
  EXPECT_EQ(kept.text, L"a/1/" + half + L";");
  // A format that is refused is told itself.
  kept.text.clear();
  const std::wstring refused = L"%n" + text;
  VTTrace(L"a", 1, refused.c_str(), nullptr);
  VTTrace(L"b", 1, L"x%n", nullptr);
  EXPECT_EQ(kept.text, L"a/1/" + refused.substr(0, 1023) + L";b/1/x%n;");
  VTSetTraceSink(nullptr, nullptr);
  debugger.clear();
  VTTrace(text.c_str(), 1, L"%s", text.c_str());
  EXPECT_EQ(debugger, text.substr(0, 128) + L": " + text.substr(0, 1023) + L"\n");
}

// The threads of the last case.
HANDLE inside, asked;
DWORD found = WAIT_FAILED;
DWORD WINAPI LookAtTheLock(HANDLE mutex, DWORD timeout) {
  // What the installer finds while a thread is in the sink.
  found = ::WaitForSingleObject(mutex, 0);
  if (found != WAIT_TIMEOUT) ::ReleaseMutex(mutex);
  ::SetEvent(asked);
  return ::WaitForSingleObject(mutex, timeout);
}
void AwaitInstaller(const wchar_t*, unsigned long, const wchar_t*, void*) {
  ::SetEvent(inside);
  ::WaitForSingleObject(asked, kLimit);
}
void NeverReturn(const wchar_t*, unsigned long, const wchar_t*, void*) {
  ::SetEvent(inside);
  ::Sleep(INFINITE);
}
DWORD WINAPI TraceOnce(void*) { return VTTrace(L"t", 1, L"x"), 0; }
DWORD WINAPI TakeSinkAway(void*) { return VTSetTraceSink(nullptr, nullptr), 0; }

// A host frees its log right after it has taken the sink away.
TEST_F(Trace, SettingASink_WaitsForTheThreadInTheFormerOne_ButForNoKilledOne) {
  for (const bool killed : {false, true}) {
    const OwnedKernelObject isInside(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
    const OwnedKernelObject hasAsked(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
    inside = isInside.Get();
    asked = hasAsked.Get();
    VTSetTraceSink(killed ? &NeverReturn : &AwaitInstaller, nullptr);
    const OwnedKernelObject tracer(::CreateThread(nullptr, 0, &TraceOnce, nullptr, 0, nullptr));
    ASSERT_EQ(::WaitForSingleObject(inside, kLimit), WAIT_OBJECT_0);
    if (killed) {
      ::TerminateThread(tracer.Get(), 0);
      ASSERT_EQ(::WaitForSingleObject(tracer.Get(), kLimit), WAIT_OBJECT_0);
    }
    const ImportHook<decltype(::WaitForSingleObject)> look{
        "KERNEL32.dll", "WaitForSingleObject", &LookAtTheLock, ::GetModuleHandleW(L"vtstdutl.dll")};
    const OwnedKernelObject installer(
        ::CreateThread(nullptr, 0, &TakeSinkAway, nullptr, 0, nullptr));
    ASSERT_EQ(::WaitForSingleObject(installer.Get(), kLimit), WAIT_OBJECT_0);
    ASSERT_EQ(::WaitForSingleObject(tracer.Get(), kLimit), WAIT_OBJECT_0);
    EXPECT_EQ(found, killed ? static_cast<DWORD>(WAIT_ABANDONED) : WAIT_TIMEOUT);
  }
}

}  // namespace
