#include "tests/support/wine.h"

#include <vtclass/win32.h>

namespace vtclass::test {

bool RunsUnderWine() {
  return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

std::string Status(long code) {
  char text[512] = {};
  DWORD length = ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                  nullptr, static_cast<DWORD>(code), 0, text,
                                  static_cast<DWORD>(sizeof(text)), nullptr);
  while (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r')) --length;
  return std::to_string(code) + " (" + std::string(text, length) + ")";
}

}  // namespace vtclass::test
