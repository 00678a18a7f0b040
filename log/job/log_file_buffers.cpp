#include <utility>

#include "log/log_file_guard.h"
#include "platform/checked_cast.h"
#include "vtclass/log.h"

using vtclass::log::EndsWell;
using vtclass::log::FindsMemory;
using vtclass::platform::CheckedCast;

bool LogFile::IsSlot(int n) { return n >= 0 && n < kBuffers; }

void LogFile::EnterBufferedMode() { bufferedMode = 1; }
void LogFile::LeaveBufferdMode() { bufferedMode = 0; }

int LogFile::AllocateBuffer(int n) {
  if (!IsSlot(n) || buffers[n]) return -1;
  return FindsMemory([&] { buffers[n] = new CWcharBuffer; }, &lastError) ? 0 : -1;
}

int LogFile::DeAllocateBuffer(int n) {
  if (!IsSlot(n) || !buffers[n]) return -1;
  delete std::exchange(buffers[n], nullptr);
  return 0;
}

int LogFile::FlushBufferToFile(int n) {
  if (!IsSlot(n) || !buffers[n]) return 0;
  const auto count = CheckedCast<int>(buffers[n]->BufferCount());
  if (!count) return Refuse(ERROR_INVALID_PARAMETER);
  return FlushWrite(buffers[n]->text, *count);
}

int LogFile::FlushBufferToFileAndDeAllocate(int n) {
  const int flushed = FlushBufferToFile(n);
  DeAllocateBuffer(n);
  return flushed ? -1 : 0;
}

int LogFile::FlushWrite(wchar_t* text, int count) {
  if (count < 0 || (!text && count > 0)) return Refuse(ERROR_INVALID_PARAMETER);
  const wchar_t* const textBefore = std::exchange(pendingText, text);
  const std::size_t lengthBefore = std::exchange(pendingLength, static_cast<std::size_t>(count));
  int result = 0;
  auto work = [&] { result = WriteText(); };
  const bool ended = EndsWell(work, &lastError);
  pendingText = textBefore;
  pendingLength = lengthBefore;
  return ended ? result : 0;
}
