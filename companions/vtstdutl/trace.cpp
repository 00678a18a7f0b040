#include <atomic>
#include <cstdarg>
#include <cwchar>
#include <string_view>

#include "platform/kill_safe_lock.h"
#include "platform/meant_call.h"
#include "platform/wide_format.h"
#include "vtstdutl/vtstdutl.h"

namespace {

constexpr size_t kLongestText = 1024;   // with its zero
constexpr size_t kLongestSource = 128;  // of a debugger line

// Held while a thread is in the sink: installing another one waits for it. A thread may be killed
// there, or while it installs one: the call is cleared before the context changes.
constinit vtclass::platform::KillSafeLock lock;
constinit std::atomic<VTTraceSink> sinkCall{nullptr};
constinit std::atomic<void*> sinkContext{nullptr};

void ToDebugger(const wchar_t* source, const wchar_t* text) {
  wchar_t line[kLongestSource + kLongestText + 4];
  VTCLASS_MEANT_BEGIN  // a text that is too long is cut
  const int length = _snwprintf(line, _countof(line) - 1, L"%.*s: %s\n",
                                static_cast<int>(kLongestSource), source, text);
  VTCLASS_MEANT_END
  line[length < 0 ? _countof(line) - 1 : static_cast<size_t>(length)] = L'\0';
  ::OutputDebugStringW(line);
}

// False when no sink is installed.
bool ToSink(const wchar_t* source, unsigned long level, const wchar_t* text) {
  if (!sinkCall) return false;
  const vtclass::platform::ScopedKillSafeLock hold(lock);
  const VTTraceSink call = sinkCall;
  if (call) call(source, level, text, sinkContext);
  return call != nullptr;
}

void Format(wchar_t (&text)[kLongestText], const wchar_t* format, va_list arguments) {
  const int length = vtclass::platform::FormatWide(text, kLongestText - 1, format, arguments);
  text[kLongestText - 1] = L'\0';
  // The C run time answers -1 for a text that is too long, which is cut, and for a format that it
  // refuses, which leaves nothing.
  if (length < 0 && text[0] == L'\0') {
    text[std::wstring_view(format).copy(text, kLongestText - 1)] = L'\0';
  }
  // No half of a character stays at the cut.
  wchar_t& last = text[kLongestText - 2];
  if (length < 0 && IS_HIGH_SURROGATE(last)) last = L'\0';
  // The system's own texts end with both.
  const auto isLineEnd = [](wchar_t unit) { return unit == L'\n' || unit == L'\r'; };
  for (size_t end = wcslen(text); end > 0 && isLineEnd(text[end - 1]); --end) text[end - 1] = L'\0';
}

}  // namespace

void VTTrace(const wchar_t* source, unsigned long level, const wchar_t* format, ...) {
  const DWORD error = ::GetLastError();
  wchar_t text[kLongestText] = {};
  va_list arguments;
  va_start(arguments, format);
  Format(text, format ? format : L"", arguments);
  va_end(arguments);
  if (!source) source = L"";
  if (!ToSink(source, level, text)) ToDebugger(source, text);
  ::SetLastError(error);
}

void VTSetTraceSink(VTTraceSink sink, void* context) {
  const vtclass::platform::ScopedKillSafeLock hold(lock);
  sinkCall = nullptr;
  sinkContext = context;
  sinkCall = sink;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE /*module*/, DWORD reason, void* processEnds) {
  if (reason == DLL_PROCESS_DETACH && !processEnds) lock.Close();
  return TRUE;
}
