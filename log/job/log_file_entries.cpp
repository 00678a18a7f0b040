#include <string_view>
#include <utility>

#include "log/job/directory_depth.h"
#include "log/job/entry_text.h"
#include "log/job/log_file_state.h"
#include "log/log_file_guard.h"
#include "platform/no_throw.h"

using namespace vtclass::log;

namespace {

constexpr wchar_t kDirectoryNameTag[] = L"<directory_name>";
constexpr wchar_t kLineEnd[] = L"\n";
constexpr wchar_t kNoLineEnd[] = L"";

}  // namespace

// The text of a message as a format: without the line feeds that end it, with `end` behind it.
int LogFile::State::PrintMessage(int buffer, unsigned id, const wchar_t* end, va_list arguments) {
  const auto compose = [&] {
    const std::wstring& text = messages.Text(id);
    // Nothing but line feeds: the search ends at npos, whose successor is 0.
    scratch.assign(text, 0, text.find_last_not_of(L'\n') + 1);
    scratch.append(end);
  };
  if (const DWORD failure = vtclass::platform::StatusOf(compose)) return Refuse(failure);
  return PrintFormatted(buffer, scratch.c_str(), arguments);
}

int LogFile::State::PrintRaw(int buffer, const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  escape = 0;
  const int result = PrintFormatted(buffer, format, arguments);
  escape = 1;
  va_end(arguments);
  return result;
}

int LogFile::print(int buffer, const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = state->PrintFormatted(buffer, format, arguments);
  va_end(arguments);
  return result;
}

int LogFile::print(int buffer, const wchar_t* format, va_list arguments) {
  return state->PrintFormatted(buffer, format, arguments);
}

int LogFile::print(int buffer, unsigned id, ...) {
  va_list arguments;
  va_start(arguments, id);
  const int result = state->PrintMessage(buffer, id, kLineEnd, arguments);
  va_end(arguments);
  return result;
}

int LogFile::print(int buffer, unsigned id, va_list arguments) {
  return state->PrintMessage(buffer, id, kLineEnd, arguments);
}

int LogFile::printerror(int buffer, const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = state->PrintFormatted(buffer, format, arguments);
  va_end(arguments);
  return result;
}

int LogFile::printerror(int buffer, unsigned id, ...) {
  va_list arguments;
  va_start(arguments, id);
  const int result = state->PrintMessage(buffer, id, kLineEnd, arguments);
  va_end(arguments);
  return result;
}

int LogFile::State::PrintTag(int buffer, const wchar_t* tag) {
  return tag ? PrintRaw(buffer, L"%s", tag) : Refuse(ERROR_INVALID_PARAMETER);
}

int LogFile::printTMP(int buffer, const wchar_t* text) { return state->PrintTag(buffer, text); }

int LogFile::printTMPNewLine(int buffer) { return printTMP(buffer, L""); }

int LogFile::printTMP(int buffer, const wchar_t* tag, unsigned id, ...) {
  va_list arguments;
  va_start(arguments, id);
  const int result = printTMP(buffer, tag, id, arguments);
  va_end(arguments);
  return result;
}

int LogFile::printTMP(int buffer, const wchar_t* tag, unsigned id, va_list arguments) {
  if (printTMP(buffer, tag)) state->PrintMessage(buffer, id, kNoLineEnd, arguments);
  return printclosingtag(buffer, tag);
}

int LogFile::printTMP(int buffer, const wchar_t* tag, const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = state->PrintEntryBody(buffer, tag, format, arguments);
  printclosingtag(buffer, tag);
  va_end(arguments);
  return result;
}

int LogFile::printTMP(int buffer, const wchar_t* tag, const wchar_t* format, va_list arguments) {
  state->PrintEntryBody(buffer, tag, format, arguments);
  return printclosingtag(buffer, tag);
}

int LogFile::printerrorTMP(int buffer, const wchar_t* tag, unsigned id, ...) {
  va_list arguments;
  va_start(arguments, id);
  const int result = printTMP(buffer, tag, id, arguments);
  va_end(arguments);
  return result;
}

int LogFile::printerrorTMP(int buffer, const wchar_t* tag, const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = state->PrintEntryBody(buffer, tag, format, arguments);
  printclosingtag(buffer, tag);
  va_end(arguments);
  return result;
}

int LogFile::State::PrintEntryBody(int buffer, const wchar_t* tag, const wchar_t* format,
                                   va_list arguments) {
  return PrintTag(buffer, tag) ? PrintFormatted(buffer, format, arguments) : 0;
}

int LogFile::printTagWithAttribute(int buffer, const wchar_t* tag, const wchar_t* value) {
  return state->PrintRaw(buffer, tag, value);
}

int LogFile::printTMPDataWithoutXMLTags(int buffer, const wchar_t* format,
                                        const wchar_t* argument) {
  return print(buffer, format, argument);
}

int LogFile::printclosingtag(int buffer, const wchar_t* tag) {
  return state->PrintClosingTag(buffer, tag);
}

int LogFile::State::PrintClosingTag(int buffer, const wchar_t* tag) {
  if (!tag) return Refuse(ERROR_INVALID_PARAMETER);
  bool isTag = false;
  if (!ReadsText([&] { isTag = MakeClosingTag(tag, scratch); }, &lastError)) return 0;
  return isTag ? PrintTag(buffer, scratch.c_str()) : 0;
}

// What stands in front of a message with a unique message identifier: the tag and the identifier.
int LogFile::State::PrintIdentifiedTag(int buffer, long umi, const wchar_t* tag) {
  const UmiPrefix prefix(static_cast<std::uint32_t>(umi));
  return PrintTag(buffer, tag) && PrintRaw(buffer, L"%s - ", prefix.Text());
}

int LogFile::printerrorUMI(int buffer, long umi, const wchar_t* tag, unsigned id, ...) {
  va_list arguments;
  va_start(arguments, id);
  const int body = state->PrintIdentifiedTag(buffer, umi, tag) &&
                   state->PrintMessage(buffer, id, kNoLineEnd, arguments);
  va_end(arguments);
  return printclosingtag(buffer, tag) && body;
}

int LogFile::printerrorUMI(int buffer, long umi, const wchar_t* tag, const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int body = state->PrintIdentifiedTag(buffer, umi, tag) &&
                   state->PrintFormatted(buffer, format, arguments);
  va_end(arguments);
  return printclosingtag(buffer, tag) && body;
}

int LogFile::printerrorUMIDisableConvertXML(int buffer, long umi, const wchar_t* tag, unsigned id,
                                            ...) {
  va_list arguments;
  va_start(arguments, id);
  int body = state->PrintIdentifiedTag(buffer, umi, tag);
  state->escape = 0;
  body = body && state->PrintMessage(buffer, id, kNoLineEnd, arguments);
  state->escape = 1;
  va_end(arguments);
  return printclosingtag(buffer, tag) && body;
}

int& LogFile::State::Depth(int buffer) { return IsSlot(buffer) ? depths[buffer] : fileDepth; }

int LogFile::State::CloseDirectories(int buffer) {
  if (directoryTag.empty()) return 0;
  int& depth = Depth(buffer);
  int result = depth == 0 ? 1 : 0;
  for (; depth > 0; --depth) result |= PrintClosingTag(buffer, directoryTag.c_str());
  return result;
}

int LogFile::printTMPdir(int buffer, const wchar_t* tag, unsigned id, const wchar_t* directory) {
  return state->PrintDirectory(buffer, tag, id, directory);
}

int LogFile::State::PrintDirectory(int buffer, const wchar_t* tag, unsigned id,
                                   const wchar_t* directory) {
  int& depth = Depth(buffer);
  if (!tag && !directory) return CloseDirectories(buffer);
  int components = 0;
  const auto look = [&] {
    if (depth == 0 && tag) directoryTag = tag;
    if (directory) components = CountComponents(directory);
  };
  if (!ReadsText(look, &lastError)) return 0;
  if (!tag) tag = directoryTag.c_str();
  if (*tag == L'\0') return 0;
  const DirectorySteps steps = PlanDirectory(depth, components);
  // Every step is tried, and the depth follows the plan: a disk that is full for a moment must not
  // shift the nesting of all that comes later.
  depth = steps.depth;
  bool written = true;
  for (int n = 0; n < steps.closings; ++n) written &= PrintClosingTag(buffer, tag) != 0;
  for (int n = 0; n < steps.openings; ++n) written &= PrintTag(buffer, tag) != 0;
  if (components > 0) written &= self.printTMP(buffer, kDirectoryNameTag, id, directory) != 0;
  return written;
}
