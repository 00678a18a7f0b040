// config_test_child key1 value1 key2 value2 seed: writes a thousand random numbers into either of
// two values below HKEY_CURRENT_USER, the last one into both, and prints that one.
#include <vtclass/win32.h>

#include <shellapi.h>

#include <cstdio>
#include <random>

int main() {
  int count = 0;
  wchar_t** const words = ::CommandLineToArgvW(::GetCommandLineW(), &count);
  if (!words || count != 6) return 2;
  std::minstd_rand random(static_cast<unsigned>(std::wcstoul(words[5], nullptr, 10)));
  DWORD number = 0;
  for (int i = 0; i <= 1000; ++i) {
    number = static_cast<DWORD>(random());
    for (int which = 0; which < 2; ++which) {
      if (i < 1000 && static_cast<int>(random() % 2) != which) continue;
      if (::RegSetKeyValueW(HKEY_CURRENT_USER, words[1 + 2 * which], words[2 + 2 * which],
                            REG_DWORD, &number, sizeof number) != ERROR_SUCCESS) {
        return 1;
      }
    }
    if (random() % 16 == 0) ::Sleep(1);
  }
  std::printf("%lu", number);
  return 0;
}
