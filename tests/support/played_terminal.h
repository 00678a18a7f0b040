#ifndef VTCLASS_TESTS_SUPPORT_PLAYED_TERMINAL_H
#define VTCLASS_TESTS_SUPPORT_PLAYED_TERMINAL_H

#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <string>

#include "platform/owned.h"
#include "tests/support/import_hook.h"
#include "tools/vtctl/shared/interrupt.h"

namespace vtctl::test {

inline constexpr DWORD kModeBefore = ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT | ENABLE_PROCESSED_INPUT;
inline DWORD mode;
inline DWORD modeWhileTyping;
inline std::wstring typed;  // what is pressed next

// Before it is replaced.
inline decltype(::GetConsoleMode)* const realGetMode = &::GetConsoleMode;
inline BOOL WINAPI GetMode(HANDLE stream, LPDWORD out) {
  if (stream != ::GetStdHandle(STD_INPUT_HANDLE)) return realGetMode(stream, out);
  *out = mode;
  return TRUE;
}
inline BOOL WINAPI SetMode(HANDLE, DWORD to) {
  mode = to;
  return TRUE;
}
inline BOOL WINAPI ReadKey(HANDLE, PINPUT_RECORD record, DWORD, LPDWORD count) {
  modeWhileTyping = mode;
  *count = 1;
  *record = {};
  if (typed.empty()) return FALSE;
  record->EventType = KEY_EVENT;
  record->Event.KeyEvent.uChar.UnicodeChar = typed[0];
  // 'U' stands for a key that is released.
  record->Event.KeyEvent.bKeyDown = typed[0] != L'U';
  typed.erase(0, 1);
  return TRUE;
}

/* Standard input as a terminal on which `keys` are pressed. */
class PlayedTerminal {
 public:
  explicit PlayedTerminal(const std::wstring& keys) {
    typed = keys;
    mode = kModeBefore;
    if (!InterruptEvent()) CatchInterrupts();
    ::SetStdHandle(STD_INPUT_HANDLE, ready.Get());
  }
  ~PlayedTerminal() {
    ::SetStdHandle(STD_INPUT_HANDLE, before);
    EXPECT_EQ(mode, kModeBefore) << "the terminal is not as it was";
  }
  PlayedTerminal(const PlayedTerminal&) = delete;
  PlayedTerminal& operator=(const PlayedTerminal&) = delete;

 private:
  const HANDLE before = ::GetStdHandle(STD_INPUT_HANDLE);
  const vtclass::platform::OwnedKernelObject ready{::CreateEventW(nullptr, TRUE, TRUE, nullptr)};
  const HMODULE program = ::GetModuleHandleW(nullptr);
  const vtclass::test::ImportHook<decltype(::GetConsoleMode)> get{"KERNEL32.dll", "GetConsoleMode",
                                                                  &GetMode, program};
  const vtclass::test::ImportHook<decltype(::SetConsoleMode)> set{"KERNEL32.dll", "SetConsoleMode",
                                                                  &SetMode, program};
  const vtclass::test::ImportHook<decltype(::ReadConsoleInputW)> read{
      "KERNEL32.dll", "ReadConsoleInputW", &ReadKey, program};
};

}  // namespace vtctl::test

#endif
