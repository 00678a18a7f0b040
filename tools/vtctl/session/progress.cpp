#include "tools/vtctl/session/progress.h"

#include <algorithm>

#include "tools/vtctl/shared/console.h"

namespace vtctl {
namespace {

constexpr ULONGLONG kTerminalInterval = 100;
constexpr ULONGLONG kLineInterval = 5000;
constexpr int kBarColumns = 30;
/* From here on most characters are wide; taking a narrow one for wide costs a blank. */
constexpr wchar_t kFirstWide = 0x1100;

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

std::wstring Fitted(const std::wstring& text, size_t columns) {
  std::wstring line;
  size_t used = 0;
  for (const wchar_t unit : text) {
    const size_t width = unit >= kFirstWide ? 2 : 1;
    if (used + width > columns) break;
    line += unit;
    used += width;
  }
  return line.append(columns - used, L' ');
}

Progress::Progress(Form form)
    : visible(form == automatic),
      terminal(visible && OutputIsTerminal()),
      next(::GetTickCount64()) {
  if (!terminal) next += kLineInterval;
}

DWORD Progress::UntilDue() const {
  if (!visible) return INFINITE;
  const ULONGLONG now = ::GetTickCount64();
  return now >= next ? 0 : static_cast<DWORD>(next - now);
}

void Progress::Show(double fraction, const std::wstring& text) {
  next = ::GetTickCount64() + (terminal ? kTerminalInterval : kLineInterval);
  if (!terminal) {
    Print(std::to_wstring(static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 100)) + L"%  " + text +
          L"\n");
    return;
  }
  /* The last column stays free: writing there would move to the next line. */
  const auto width = static_cast<size_t>(TerminalWidth() - 1);
  const std::wstring line = Fitted(ProgressBar(fraction, kBarColumns) + L"  " + text, width);
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
