#include <vtclass/win32.h>

#include <atomic>
#include <cstdint>

#include "vtclass/strings.h"

namespace {

constexpr DWORD kFlags = NORM_IGNORECASE | SORT_STRINGSORT;
constexpr unsigned kAsciiCount = 128;

// The platform's answers for pairs below 128, 0 where it has not been asked yet. They hold for the
// life of the process: a change of the system's locale takes effect when the system restarts. So
// each pair costs one call, whatever the locale makes of letters and punctuation.
using Answers = std::atomic<std::uint8_t>[kAsciiCount][kAsciiCount];
Answers wideAnswers;
Answers byteAnswers;

int Ask(wchar_t a, wchar_t b) {
  return ::CompareStringW(LOCALE_SYSTEM_DEFAULT, kFlags, &a, 1, &b, 1);
}

int Ask(char a, char b) { return ::CompareStringA(LOCALE_SYSTEM_DEFAULT, kFlags, &a, 1, &b, 1); }

// `first` and `second` are the values of the characters `a` and `b`.
template <typename Character>
int Compare(Character a, Character b, unsigned first, unsigned second, Answers& answers) {
  if (first == second) return 0;
  if (first == 0 || second == 0) return static_cast<int>(first) - static_cast<int>(second);
  // A platform call that fails answers 0, which becomes -2: a difference. It is not remembered.
  if (first >= kAsciiCount || second >= kAsciiCount) return Ask(a, b) - CSTR_EQUAL;
  std::atomic<std::uint8_t>& remembered = answers[first][second];
  int answer = remembered.load(std::memory_order_relaxed);
  if (answer == 0) {
    answer = Ask(a, b);
    remembered.store(static_cast<std::uint8_t>(answer), std::memory_order_relaxed);
  }
  return answer - CSTR_EQUAL;
}

}  // namespace

int comparei(wchar_t a, wchar_t b) { return Compare(a, b, a, b, wideAnswers); }

// Bytes are unsigned here, so that zero sorts first in the upper half too.
int comparei(char a, char b) {
  return Compare(a, b, static_cast<unsigned char>(a), static_cast<unsigned char>(b), byteAnswers);
}
