#include "tools/vtctl/shared/system_text.h"

#include <vtclass/win32.h>

#include <climits>
#include <cwchar>

#include "platform/owned.h"

namespace vtctl {

std::wstring SystemText(unsigned long code) {
  vtclass::platform::OwnedLocalMemory memory;
  wchar_t* words = nullptr;
  const DWORD length =
      ::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                           FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
                       nullptr, code, 0, reinterpret_cast<wchar_t*>(&words), 0, nullptr);
  memory.Reset(words);
  std::wstring text(words ? words : L"", length);
  while (!text.empty() && text.back() <= L' ') text.pop_back();
  // The large ones are known in hexadecimal.
  wchar_t number[16];
  std::swprintf(number, ARRAYSIZE(number), code > LONG_MAX ? L"0x%08lX" : L"%lu", code);
  return text.empty() ? L"Win32 " + std::wstring(number) : text + L" (" + number + L")";
}

std::wstring ClockTime() {
  SYSTEMTIME now = {};
  ::GetLocalTime(&now);
  wchar_t text[16];
  ::GetTimeFormatW(LOCALE_INVARIANT, 0, &now, L"HH':'mm':'ss", text, ARRAYSIZE(text));
  return text;
}

std::wstring IsoTime() {
  SYSTEMTIME now = {};
  ::GetSystemTime(&now);
  return IsoTime(now);
}

std::wstring IsoTime(const SYSTEMTIME& utc) {
  wchar_t text[32];
  std::swprintf(text, ARRAYSIZE(text), L"%04u-%02u-%02uT%02u:%02u:%02uZ", utc.wYear, utc.wMonth,
                utc.wDay, utc.wHour, utc.wMinute, utc.wSecond);
  return text;
}

}  // namespace vtctl
