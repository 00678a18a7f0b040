// config_test_child key1 value1 key2 value2 seed: writes a thousand random numbers into either of
// two values below HKEY_CURRENT_USER, the last one into both, and prints that one.
#include <vtclass/win32.h>

#include <cstdio>
#include <cstdlib>
#include <random>

int main(int, char** words) {
  std::minstd_rand random(static_cast<unsigned>(std::atoi(words[5])));
  for (int i = 0; i <= 1000; ++i) {
    const DWORD number = static_cast<DWORD>(random());
    const int only = i < 1000 ? 1 + 2 * static_cast<int>(random() % 2) : 0;
    for (const int at : {1, 3}) {
      if (only && at != only) continue;
      const auto status = ::RegSetKeyValueA(HKEY_CURRENT_USER, words[at], words[at + 1], REG_DWORD,
                                            &number, sizeof number);
      if (status != ERROR_SUCCESS) return 1;
    }
    if (random() % 16 == 0) ::Sleep(1);
    if (i == 1000) std::printf("%lu", number);
  }
}
