#include "tools/vtctl/session/progress.h"

#include <algorithm>

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/number_text.h"

namespace vtctl {
namespace {

constexpr ULONGLONG kInterval = 100;
constexpr size_t kMostBarColumns = 30;
constexpr size_t kLeastBarColumns = 12;
// Below so many columns nothing can be made out of a path.
constexpr size_t kLeastFolderColumns = 16;
// Before so much is done the time left is a guess.
constexpr double kLeastFraction = 0.02;

std::wstring TimeLeft(const ProgressState& state) {
  if (state.fraction < kLeastFraction) return {};
  const double all = static_cast<double>(state.milliseconds) / std::min(state.fraction, 1.0);
  const std::wstring text = Duration(static_cast<uint64_t>(all) - state.milliseconds, {});
  return text.substr(0, text.size() - 2) + L" left";  // without tenths
}

}  // namespace

std::wstring ProgressLine(const ProgressState& state, size_t columns) {
  const size_t bar = std::clamp(columns / 3, kLeastBarColumns, kMostBarColumns);
  std::wstring line = ProgressBar(state.fraction, static_cast<int>(bar));
  for (const std::wstring& part : {state.files, TimeLeft(state), state.rate + L"/s", state.size}) {
    if (part.empty()) continue;
    if (ColumnsOf(line) + 2 + ColumnsOf(part) > columns) return Shortened(line, columns);
    line += L"  " + part;
  }
  const size_t used = ColumnsOf(line) + 2;
  if (state.folder.empty() || used + kLeastFolderColumns > columns) return Shortened(line, columns);
  return line + L"  " + Shortened(state.folder, columns - used);
}

Progress::Progress(Form form)
    : visible(form == automatic && ErrorIsTerminal()), next(::GetTickCount64()) {}

DWORD Progress::UntilDue() const {
  if (!visible) return INFINITE;
  const ULONGLONG now = ::GetTickCount64();
  return now >= next ? 0 : static_cast<DWORD>(next - now);
}

void Progress::Show(const ProgressState& state) {
  next = ::GetTickCount64() + kInterval;
  PrintStatus(ProgressLine(state, StatusColumns()));
  shown = true;
}

void Progress::Finish() {
  if (shown) ClearStatus();
  shown = false;
  visible = false;
}

}  // namespace vtctl
