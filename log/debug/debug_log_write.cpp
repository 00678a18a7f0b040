#include <algorithm>
#include <utility>

#include "log/debug/debug_log_state.h"
#include "log/debug/log_names.h"
#include "log/file_opening.h"
#include "platform/hresult.h"
#include "platform/no_throw.h"
#include "platform/same_name.h"

using namespace vtclass::log;
using vtclass::platform::HResultOfFailure;
using vtclass::platform::StatusOf;

namespace {

// A roll that failed is tried again after an eighth of the limit, and at the least this much.
constexpr Position kLeastRetry = 4096;

}  // namespace

int DebugLog::State::Write(const void* bytes, std::size_t size) {
  // Closed by another thread while this one was formatting.
  if (!isOpen) return 0;
  if (size == 0) return 1;
  // Before a roll: what is left of a line goes nowhere.
  DWORD failure = file ? CutTornText(file.Get(), fileSize, &torn) : ERROR_SUCCESS;
  if (failure == ERROR_SUCCESS && file) ApplyLimit(size);
  if (failure == ERROR_SUCCESS && !file) failure = OpenAgain();
  if (failure == ERROR_SUCCESS) failure = AppendWhole(file.Get(), bytes, size, &fileSize, &torn);
  if (failure != ERROR_SUCCESS) return Lose(failure);
  lossReported = false;
  return 1;
}

// A roll could not open the file again, or it could not be opened when the log was switched on.
// Without it each line is lost, so each line tries.
unsigned long DebugLog::State::OpenAgain() {
  const DWORD failure = OpenOrMakeTrace(fileName.c_str(), unicode != 0, &file, &fileSize);
  if (failure != ERROR_SUCCESS || announced) return failure;
  RememberPath();
  AnnounceOn();
  return ERROR_SUCCESS;
}

// Counts down what is to be written, not what is: on a full disk a roll may be what makes room.
void DebugLog::State::ApplyLimit(std::size_t incoming) {
  const Position threshold = limits.Threshold();
  if (fileSize < threshold) return;
  if (incoming < untilRetry) {
    untilRetry -= incoming;
    return;
  }
  LiveFile live{file, fileSize, fileName.c_str(), unicode != 0};
  // The analysis does not see through the call that the lock is held here.
  const auto roll = [&]() VTCLASS_THREAD_ANNOTATION(no_thread_safety_analysis) {
    status = sizeLimit ? sizeLimit->MakeRoom(live) : SimpleRoll();
  };
  if (const DWORD failure = StatusOf(roll)) status = HResultOfFailure(failure);
  untilRetry = status == S_OK ? 0 : std::max(threshold / 8, kLeastRetry);
  if (status != S_OK) lastError = static_cast<unsigned long>(status) & 0xFFFF;
}

// The further file is opened before this one is closed: where that fails nothing has changed.
long DebugLog::State::SimpleRoll() {
  unsigned long number = rollCounter + 1;
  wcstring next(RolledName(baseName, number, extension));
  // A caller may have opened a further file himself; it is not emptied under his hands.
  if (vtclass::platform::IsSameName(next, fileName)) {
    next = RolledName(baseName, ++number, extension);
  }
  const DWORD failure = OpenTrace(kCreateAlways, next.c_str(), unicode != 0, &file, &fileSize);
  if (failure != ERROR_SUCCESS) {
    if (!std::exchange(rollReported, true)) {
      ::OutputDebugStringW(L"DebugLog::SimpleRoll - Unable to open file");
    }
    return HResultOfFailure(failure);
  }
  rollReported = false;
  rollCounter = number;
  fileName.swap(next);
  return S_OK;
}

int DebugLog::State::Lose(unsigned long code) {
  ++lostLines;
  if (!std::exchange(lossReported, true)) {
    ::OutputDebugStringW(L"DebugLog::print - Unable to write");
  }
  return Refuse(code);
}
