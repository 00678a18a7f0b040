#include "tools/vtctl/shared/confirm.h"

#include <vtclass/win32.h>

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/exit_code.h"
#include "tools/vtctl/shared/secret.h"

namespace vtctl {

int Confirm(const std::wstring& question) {
  DWORD mode = 0;
  if (!::GetConsoleMode(::GetStdHandle(STD_INPUT_HANDLE), &mode)) {
    return Fail(kExitUsage,
                L"Nobody can be asked: standard input is no terminal. --yes does without.");
  }
  const std::wstring prompt = question + L" (yes/no) ";
  Secret answer;
  const int code = ReadSecret({.prompt = prompt.c_str(), .isShown = true}, answer);
  if (code != kExitClean) return code;
  const bool isSure = answer.text == "yes" || answer.text == "y";
  return isSure ? kExitClean : Fail(kExitWarnings, L"Nothing was done.");
}

}  // namespace vtctl
