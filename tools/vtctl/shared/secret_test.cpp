#include "tools/vtctl/shared/secret.h"

#include <gtest/gtest.h>

#include "tests/support/played_terminal.h"
#include "tools/vtctl/shared/exit_code.h"

namespace vtctl {
namespace {

using test::modeWhileTyping;
using test::PlayedTerminal;

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
