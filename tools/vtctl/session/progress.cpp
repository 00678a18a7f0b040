#include "tools/vtctl/session/progress.h"

#include <algorithm>

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/number_text.h"

namespace vtctl {
namespace {

constexpr ULONGLONG kTerminalInterval = 100;
constexpr ULONGLONG kLineInterval = 5000;
constexpr int kBarColumns = 30;

}  // namespace

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
  // The last column stays free: writing there would move to the next line.
  const auto width = static_cast<size_t>(TerminalWidth() - 1);
  const std::wstring line = Fitted(ProgressBar(fraction, kBarColumns) + L"  " + text, width);
  // The cursor waits at the start, so that what others write there covers the bar.
  Print(line + L"\r");
  shown = true;
}

void Progress::Finish() {
  if (shown) Print(std::wstring(static_cast<size_t>(TerminalWidth() - 1), L' ') + L"\r");
  shown = false;
  visible = false;
}

}  // namespace vtctl
