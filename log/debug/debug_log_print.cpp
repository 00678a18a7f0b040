#include <algorithm>
#include <cwchar>
#include <iterator>
#include <string_view>

#include "log/ansi_text.h"
#include "log/debug/debug_log_state.h"
#include "log/formatter.h"
#include "log/log_file_guard.h"
#include "platform/no_throw.h"
#include "strings/xml_escape.h"

using namespace vtclass::log;
using vtclass::WideView;
using vtclass::platform::StatusOf;

namespace {

// Texts below this length are put together on the stack of the thread that prints, before the lock
// is taken: threads that share a log wait for each other's writes only.
constexpr std::size_t kShortText = 512;

// From this capacity on the format buffer does not grow.
constexpr std::size_t kMostFormat = 32768;

constexpr std::size_t kLineEnd = 2;

// The text as it goes into the file; up to `room` anything may be overwritten. Requires: `room` is
// enough for two characters for each of the text's line feeds, one for each other, and a line end.
std::size_t MakeLine(WideView text, bool endsLine, wchar_t* out, std::size_t room) {
  std::size_t consumed = 0;
  std::size_t length = vtclass::strings::EscapeInto(text, false, out, room - kLineEnd, &consumed);
  if (endsLine) {
    out[length++] = L'\r';
    out[length++] = L'\n';
  }
  return length;
}

}  // namespace

int DebugLog::State::Print(const wchar_t* format, va_list arguments, bool endsLine) {
  if (!isOpen.load(std::memory_order_relaxed)) return 0;
  if (!format) return Refuse(ERROR_INVALID_PARAMETER);
  wchar_t text[kShortText];
  int length = 0;
  unsigned long code = ERROR_SUCCESS;
  auto work = [&] { length = FormatText(text, kShortText, format, arguments); };
  if (!EndsWell(work, &code)) return Refuse(code);
  if (length < 0 || static_cast<std::size_t>(length) >= kShortText) {
    return PrintLong(format, arguments, endsLine);
  }
  return PrintShort({text, static_cast<std::size_t>(length)}, endsLine);
}

int DebugLog::State::PrintMessage(unsigned id, va_list arguments) {
  if (!isOpen.load(std::memory_order_relaxed)) return 0;
  const wchar_t* format = L"";
  // The text stays where it is as long as the log's messages live.
  const auto find = [&] { format = messages.Text(id).c_str(); };
  if (const DWORD failure = StatusOf(find)) return Refuse(failure);
  return Print(format, arguments, true);
}

int DebugLog::State::PrintShort(WideView text, bool endsLine) {
  wchar_t line[2 * kShortText + kLineEnd];
  const std::size_t length = MakeLine(text, endsLine, line, std::size(line));
  if (unicode) {
    const Hold hold(*this);
    return Write(line, length * sizeof(wchar_t));
  }
  char ansi[std::size(line)];
  std::size_t bytes = 0;
  DWORD failure = ConvertToAnsi({line, length}, ansi, std::size(ansi), &bytes);
  const Hold hold(*this);
  if (failure == ERROR_SUCCESS) return Write(ansi, bytes);
  if (failure == ERROR_INSUFFICIENT_BUFFER) {
    failure = ConvertToAnsi({line, length}, ansiBuffer, &bytes);
  }
  return failure == ERROR_SUCCESS ? Write(ansiBuffer.Data(), bytes) : Lose(failure);
}

int DebugLog::State::PrintLong(const wchar_t* format, va_list arguments, bool endsLine) {
  // Held here, outside the guarded work: a fault in that runs no destructors.
  const Hold hold(*this);
  std::size_t length = 0;
  DWORD failure = ERROR_SUCCESS;
  unsigned long code = ERROR_SUCCESS;
  // The analysis does not see through the call that the lock is held here.
  auto work = [&]() VTCLASS_THREAD_ANNOTATION(no_thread_safety_analysis) {
    failure = FillLine(format, arguments, endsLine, &length);
  };
  if (!EndsWell(work, &code)) return Refuse(code);
  if (failure != ERROR_SUCCESS) return Lose(failure);
  if (unicode) return Write(lineBuffer.Data(), length * sizeof(wchar_t));
  std::size_t bytes = 0;
  failure = ConvertToAnsi({lineBuffer.Data(), length}, ansiBuffer, &bytes);
  return failure == ERROR_SUCCESS ? Write(ansiBuffer.Data(), bytes) : Lose(failure);
}

// Fills the line buffer. A Win32 status.
unsigned long DebugLog::State::FillLine(const wchar_t* format, va_list arguments, bool endsLine,
                                        std::size_t* length) {
  WideView text;
  if (const unsigned long failure = FillFormat(format, arguments, &text)) return failure;
  const auto lineFeeds = static_cast<std::size_t>(std::ranges::count(text, L'\n'));
  if (!lineBuffer.Grow(text.size() + lineFeeds + kLineEnd)) return ERROR_NOT_ENOUGH_MEMORY;
  *length = MakeLine(text, endsLine, lineBuffer.Data(), lineBuffer.Capacity());
  return ERROR_SUCCESS;
}

// The formatted text, in the format buffer; one that no buffer takes is replaced by its format, or
// by nothing. A Win32 status.
unsigned long DebugLog::State::FillFormat(const wchar_t* format, va_list arguments,
                                          WideView* text) {
  int length = FormatText(formatBuffer.Data(), formatBuffer.Capacity(), format, arguments);
  if (length >= 0 && static_cast<std::size_t>(length) < kMostFormat) {
    const auto characters = static_cast<std::size_t>(length);
    if (characters >= formatBuffer.Capacity()) {
      if (!formatBuffer.Grow(characters + 1)) return ERROR_NOT_ENOUGH_MEMORY;
      length = FormatText(formatBuffer.Data(), formatBuffer.Capacity(), format, arguments);
    }
    // Another thread may have changed the arguments between the two.
    if (length < 0 || static_cast<std::size_t>(length) >= formatBuffer.Capacity()) {
      return ERROR_INVALID_DATA;
    }
    *text = {formatBuffer.Data(), static_cast<std::size_t>(length)};
    return ERROR_SUCCESS;
  }
  const WideView bare(format);
  *text = bare.size() < kMostFormat ? bare : WideView();
  return ERROR_SUCCESS;
}
