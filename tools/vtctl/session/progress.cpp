#include "tools/vtctl/session/progress.h"

#include <algorithm>

#include "tools/vtctl/console.h"

namespace vtctl {
namespace {

constexpr ULONGLONG kTerminalInterval = 100;
constexpr ULONGLONG kLineInterval = 5000;
constexpr int kBarColumns = 30;

}  // namespace

std::wstring ProgressBar(double fraction, int columns) {
  const double part = std::clamp(fraction, 0.0, 1.0);
  const int room = std::max(columns - 7, 1); /* the brackets and "  42%" stand around it */
  const int done = static_cast<int>(part * room);
  const std::wstring percent = std::to_wstring(static_cast<int>(part * 100)) + L"%";
  return L"[" + std::wstring(static_cast<size_t>(done), L'#') +
         std::wstring(static_cast<size_t>(room - done), L'-') + L"]" +
         std::wstring(5 - percent.size(), L' ') + percent;
}

Progress::Progress(Form form)
    : visible(form == automatic),
      terminal(visible && OutputIsTerminal()),
      next(::GetTickCount64()) {
  if (!terminal) next += kLineInterval;
}

bool Progress::Due() const { return visible && ::GetTickCount64() >= next; }

void Progress::Show(double fraction, const std::wstring& text) {
  next = ::GetTickCount64() + (terminal ? kTerminalInterval : kLineInterval);
  if (!terminal) {
    Print(std::to_wstring(static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 100)) + L"%  " + text +
          L"\n");
    return;
  }
  /* The last column stays free: writing there would move to the next line. */
  const auto width = static_cast<size_t>(TerminalWidth() - 1);
  std::wstring line = ProgressBar(fraction, kBarColumns) + L"  " + text;
  line.resize(width, L' ');
  /* The cursor waits at the start, so that what others write there covers the bar. */
  Print(line + L"\r");
  shown = true;
}

void Progress::Finish() {
  if (shown) Print(std::wstring(static_cast<size_t>(TerminalWidth() - 1), L' ') + L"\r");
  shown = false;
  visible = false;
}

}  // namespace vtctl
