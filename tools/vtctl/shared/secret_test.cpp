#include "tools/vtctl/shared/secret.h"

#include <gtest/gtest.h>

#include "platform/owned.h"
#include "tests/support/import_hook.h"
#include "tools/vtctl/shared/exit_code.h"
#include "tools/vtctl/shared/interrupt.h"

namespace vtctl {
namespace {

using vtclass::test::ImportHook;

constexpr DWORD kModeBefore = ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT | ENABLE_PROCESSED_INPUT;
DWORD mode;
DWORD modeWhileTyping;
std::wstring typed;  // what is pressed next

BOOL WINAPI GetMode(HANDLE, LPDWORD out) {
  *out = mode;
  return TRUE;
}
BOOL WINAPI SetMode(HANDLE, DWORD to) {
  mode = to;
  return TRUE;
}
BOOL WINAPI ReadKey(HANDLE, PINPUT_RECORD record, DWORD, LPDWORD count) {
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

// Standard input as a terminal on which `keys` are pressed.
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
  const ImportHook<decltype(::GetConsoleMode)> get{"KERNEL32.dll", "GetConsoleMode", &GetMode,
                                                   program};
  const ImportHook<decltype(::SetConsoleMode)> set{"KERNEL32.dll", "SetConsoleMode", &SetMode,
                                                   program};
  const ImportHook<decltype(::ReadConsoleInputW)> read{"KERNEL32.dll", "ReadConsoleInputW",
                                                       &ReadKey, program};
};

TEST(Secret, ReadSecret_AtATerminal) {
  const SecretQuestion once = {.prompt = L"?"};
  const SecretQuestion twice = {.prompt = L"?", .again = L"!"};
  const struct {
    SecretQuestion question;
    std::wstring keys;
    int code;
    std::string secret;
  } rows[] = {{once, L"secret\r", kExitClean, "secret"},
              {once, L"\r", kExitClean, ""},
              {once, std::wstring(L"sU\0e\r", 5), kExitClean, "se"},
              {once, L"K\x00E4\r", kExitClean, "K\xC3\xA4"},
              {once, L"\b\bax\bb\r", kExitClean, "ab"},
              {once, L"a\xD83D\xDE00\b\r", kExitClean, "a"},
              {once, L"\xD83D\xDE00\r", kExitClean, "\xF0\x9F\x98\x80"},
              {once, std::wstring(16384, L'\x6F22') + L"\r", kExitClean, ""},
              {once, std::wstring(16385, L'x') + L"\r", kExitBadInput, ""},
              {once, L"sec", kExitNoInput, ""},
              {twice, L"secret\rsecret\r", kExitClean, "secret"},
              {twice, L"secret\rsecre\r", kExitBadInput, ""},
              {twice, L"secret\r", kExitNoInput, ""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.secret + " " + std::to_string(row.keys.size()));
    const PlayedTerminal terminal(row.keys);
    Secret secret;
    EXPECT_EQ(ReadSecret(row.question, secret), row.code);
    EXPECT_EQ(modeWhileTyping, DWORD{ENABLE_PROCESSED_INPUT}) << "keys are shown";
    if (!row.secret.empty()) EXPECT_EQ(secret.text, row.secret);
  }
}

TEST(Secret, ReadSecret_Interrupted_LeavesTheTerminalAsItWas) {
  const PlayedTerminal terminal(L"secret\r");
  ::SetEvent(InterruptEvent());
  Secret secret;
  EXPECT_EQ(ReadSecret({.prompt = L"?"}, secret), kExitCancelled);
  ::ResetEvent(InterruptEvent());
}

}  // namespace
}  // namespace vtctl
