#include <utility>

#include "log/job/log_file_state.h"
#include "log/log_file_guard.h"
#include "platform/checked_cast.h"
#include "platform/no_throw.h"

using vtclass::log::EndsWell;
using vtclass::platform::CheckedCast;
using vtclass::platform::StatusOf;

void LogFile::EnterBufferedMode() { state->bufferedMode = 1; }
void LogFile::LeaveBufferdMode() { state->bufferedMode = 0; }

int LogFile::AllocateBuffer(int n) {
  if (!State::IsSlot(n) || state->buffers[n]) return -1;
  const DWORD failure = StatusOf([&] { state->buffers[n] = new CWcharBuffer; });
  if (failure != ERROR_SUCCESS) state->lastError = failure;
  return failure == ERROR_SUCCESS ? 0 : -1;
}

int LogFile::DeAllocateBuffer(int n) {
  if (!State::IsSlot(n) || !state->buffers[n]) return -1;
  delete std::exchange(state->buffers[n], nullptr);
  return 0;
}

int LogFile::FlushBufferToFile(int n) {
  if (!State::IsSlot(n) || !state->buffers[n]) return 0;
  const auto count = CheckedCast<int>(state->buffers[n]->BufferCount());
  if (!count) return state->Refuse(ERROR_INVALID_PARAMETER);
  return FlushWrite(state->buffers[n]->text, *count);
}

int LogFile::FlushBufferToFileAndDeAllocate(int n) {
  const int flushed = FlushBufferToFile(n);
  DeAllocateBuffer(n);
  return flushed ? -1 : 0;
}

int LogFile::FlushWrite(wchar_t* text, int count) {
  if (count < 0 || (!text && count > 0)) return state->Refuse(ERROR_INVALID_PARAMETER);
  const auto length = static_cast<std::size_t>(count);
  const wchar_t* const textBefore = std::exchange(state->pendingText, text);
  const std::size_t lengthBefore = std::exchange(state->pendingLength, length);
  int result = 0;
  auto work = [&] { result = WriteText(); };
  const bool ended = EndsWell(work, &state->lastError);
  state->pendingText = textBefore;
  state->pendingLength = lengthBefore;
  return ended ? result : 0;
}
