#include <cwchar>
#include <new>
#include <utility>

#include "log/buffer_growth.h"
#include "log/formatter.h"
#include "log/job/entry_text.h"
#include "log/job/output_length.h"
#include "log/log_file_guard.h"
#include "strings/xml_escape.h"
#include "vtclass/log.h"

using namespace vtclass::log;

namespace {

std::unique_ptr<wchar_t[]> Allocate(std::size_t characters) {
  return std::unique_ptr<wchar_t[]>(new (std::nothrow) wchar_t[characters]);
}

}  // namespace

int LogFile::PrintFormatted(int buffer, const wchar_t* format, va_list arguments) {
  if (!format) return Refuse(ERROR_INVALID_PARAMETER);
  // Owned here: a fault ends the guarded work without running destructors.
  Characters oversized;
  int result = 0;
  auto work = [&] { result = FormatAndDeliver(buffer, format, arguments, oversized); };
  const bool ended = EndsWell(work, &lastError);
  if (oversized) ShrinkOutput();
  return ended ? result : 0;
}

int LogFile::FormatAndDeliver(int buffer, const wchar_t* format, va_list arguments,
                              Characters& oversized) {
  wchar_t* text = formatBuffer.get();
  std::size_t capacity = formatCapacity;
  int length = FormatText(text, capacity, format, arguments);
  if (length >= 0 && static_cast<std::size_t>(length) >= capacity) {
    capacity = static_cast<std::size_t>(length) + 1;
    text = MakeFormatRoom(capacity, format, oversized);
    if (!text) return Refuse(ERROR_NOT_ENOUGH_MEMORY);
    length = FormatText(text, capacity, format, arguments);
  }
  if (length < 0 || static_cast<std::size_t>(length) >= capacity) return Refuse(ERROR_INVALID_DATA);
  const std::size_t ends = UnbracketUtilityPartition(text, static_cast<std::size_t>(length));
  const std::size_t step = kGrowth + (oversized ? std::wcslen(format) : 0);
  const bool filled = FillOutput(text, ends, step);
  const int delivered = Deliver(buffer);
  return filled ? delivered : Refuse(ERROR_NOT_ENOUGH_MEMORY);
}

// The buffer for a text that needs `capacity` characters: the format buffer, up to its ceiling, and
// beyond it a buffer for this one text. Null when memory runs out; the format buffer then stays.
wchar_t* LogFile::MakeFormatRoom(std::size_t capacity, const wchar_t* format,
                                 Characters& oversized) {
  const std::size_t grown =
      GrownCapacity(formatCapacity, capacity < kFormatCeiling ? capacity : kFormatCeiling, kGrowth);
  if (grown > formatCapacity) {
    Characters larger = Allocate(grown);
    if (!larger) return nullptr;
    formatBuffer = std::move(larger);
    formatCapacity = grown;
  }
  if (capacity <= formatCapacity) return formatBuffer.get();
  oversized = Allocate(GrownCapacity(std::wcslen(format) + kGrowth, capacity, kGrowth));
  return oversized.get();
}

// Fills the output buffer with the text as it goes into the file. False when memory runs out;
// nothing is pending then.
bool LogFile::FillOutput(const wchar_t* text, std::size_t length, std::size_t step) {
  pendingText = outputBuffer.get();
  pendingLength = 0;
  const vtclass::WideView view(text, length);
  std::size_t consumed = 0;
  std::size_t written = vtclass::strings::EscapeInto(view, escape != 0, outputBuffer.get(),
                                                     outputCapacity, &consumed);
  if (consumed < length || written > outputCapacity - kOutputReserve) {
    const std::size_t grown =
        GrownCapacity(outputCapacity, OutputCapacityFor(view, escape != 0), step);
    if (grown > outputCapacity) {
      Characters larger = Allocate(grown);
      if (!larger) return false;
      outputBuffer = std::move(larger);
      outputCapacity = grown;
      pendingText = outputBuffer.get();
      written = vtclass::strings::EscapeInto(view, escape != 0, outputBuffer.get(), outputCapacity,
                                             &consumed);
    }
  }
  pendingLength = written;
  return true;
}

// After an oversized text. Without memory for a small buffer the large one serves on.
void LogFile::ShrinkOutput() {
  Characters small = Allocate(kFirstCapacity);
  if (!small) return;
  outputBuffer = std::move(small);
  outputCapacity = kFirstCapacity;
  pendingText = outputBuffer.get();
  pendingLength = 0;
}

int LogFile::Deliver(int buffer) {
  CWcharBuffer* const section = bufferedMode && IsSlot(buffer) ? buffers[buffer] : nullptr;
  if (!section) return WriteText();
  if (section->WriteToBufferAllPrintableChars(pendingText, pendingLength)) return 1;
  return Refuse(ERROR_NOT_ENOUGH_MEMORY);
}

const wchar_t* LogFile::PendingText() const { return pendingText; }
std::size_t LogFile::PendingLength() const { return pendingLength; }
std::size_t LogFile::FormatCapacity() const { return formatCapacity; }
std::size_t LogFile::OutputCapacity() const { return outputCapacity; }
