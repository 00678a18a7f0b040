#include <algorithm>
#include <cwchar>

#include "log/formatter.h"
#include "log/job/entry_text.h"
#include "log/job/log_file_state.h"
#include "log/job/output_length.h"
#include "log/log_file_guard.h"
#include "strings/xml_escape.h"

using namespace vtclass::log;
using vtclass::strings::EscapeInto;
using vtclass::strings::kLongestEscape;

int LogFile::State::PrintFormatted(int buffer, const wchar_t* format, va_list arguments) {
  if (!format) return Refuse(ERROR_INVALID_PARAMETER);
  // Owned here: a fault ends the guarded work without running destructors.
  Characters oversized(0);
  int result = 0;
  auto work = [&] { result = FormatAndDeliver(buffer, format, arguments, oversized); };
  const bool ended = EndsWell(work, &lastError);
  if (oversized.Capacity() > 0) ShrinkOutput();
  return ended ? result : 0;
}

int LogFile::State::FormatAndDeliver(int buffer, const wchar_t* format, va_list arguments,
                                     Characters& oversized) {
  Characters* work = &formatBuffer;
  int length = FormatText(work->Data(), work->Capacity(), format, arguments);
  if (length >= 0 && static_cast<std::size_t>(length) >= work->Capacity()) {
    work = MakeFormatRoom(static_cast<std::size_t>(length) + 1, format, oversized);
    if (!work) return Refuse(ERROR_NOT_ENOUGH_MEMORY);
    length = FormatText(work->Data(), work->Capacity(), format, arguments);
  }
  if (length < 0 || static_cast<std::size_t>(length) >= work->Capacity()) {
    return Refuse(ERROR_INVALID_DATA);
  }
  const std::size_t ends =
      UnbracketUtilityPartition(work->Data(), static_cast<std::size_t>(length));
  const std::size_t step = kGrowth + (work == &oversized ? std::wcslen(format) : 0);
  const bool filled = FillOutput({work->Data(), ends}, step);
  const int delivered = Deliver(buffer);
  return filled ? delivered : Refuse(ERROR_NOT_ENOUGH_MEMORY);
}

// The buffer for a text that needs `capacity` characters: the format buffer, up to its ceiling, and
// beyond it a buffer for this one text. Null when memory runs out; the format buffer then stays.
LogFile::State::Characters* LogFile::State::MakeFormatRoom(std::size_t capacity,
                                                           const wchar_t* format,
                                                           Characters& oversized) {
  if (!formatBuffer.Grow(std::min(capacity, kFormatCeiling))) return nullptr;
  if (capacity <= formatBuffer.Capacity()) return &formatBuffer;
  const std::size_t first = std::wcslen(format) + kGrowth;
  return oversized.Allocate(GrownCapacity(first, capacity, kGrowth)) ? &oversized : nullptr;
}

// Fills the output buffer with the text as it goes into the file. False when memory runs out;
// nothing is pending then.
bool LogFile::State::FillOutput(vtclass::WideView text, std::size_t step) {
  const auto fill = [&](std::size_t* consumed) {
    return EscapeInto(text, escape != 0, outputBuffer.Data(), outputBuffer.Capacity(), consumed);
  };
  pendingText = outputBuffer.Data();
  pendingLength = 0;
  std::size_t consumed = 0;
  std::size_t written = fill(&consumed);
  if (consumed < text.size() || written > outputBuffer.Capacity() - kLongestEscape) {
    if (!outputBuffer.Grow(OutputCapacityFor(text, escape != 0), step)) return false;
    pendingText = outputBuffer.Data();
    written = fill(&consumed);
  }
  pendingLength = written;
  return true;
}

// After an oversized text. Without memory for a small buffer the large one serves on.
void LogFile::State::ShrinkOutput() {
  if (!outputBuffer.Allocate(kFirstCapacity)) return;
  pendingText = outputBuffer.Data();
  pendingLength = 0;
}

int LogFile::State::Deliver(int buffer) {
  CWcharBuffer* const section = bufferedMode && IsSlot(buffer) ? buffers[buffer] : nullptr;
  if (!section) return self.WriteText();
  if (section->WriteToBufferAllPrintableChars(pendingText, pendingLength)) return 1;
  return Refuse(ERROR_NOT_ENOUGH_MEMORY);
}

const wchar_t* LogFile::PendingText() const { return state->pendingText; }
std::size_t LogFile::PendingLength() const { return state->pendingLength; }
std::size_t LogFile::FormatCapacity() const { return state->formatBuffer.Capacity(); }
std::size_t LogFile::OutputCapacity() const { return state->outputBuffer.Capacity(); }
