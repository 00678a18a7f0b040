#include <string_view>
#include <utility>

#include "log/job/directory_depth.h"
#include "log/job/entry_text.h"
#include "log/log_file_guard.h"
#include "vtclass/log.h"

using namespace vtclass::log;

namespace {

constexpr wchar_t kDirectoryNameTag[] = L"<directory_name>";
constexpr wchar_t kLineEnd[] = L"\n";
constexpr wchar_t kNoLineEnd[] = L"";

}  // namespace

// The text of a message as a format: without the line feeds that end it, with `end` behind it.
int LogFile::PrintMessage(int buffer, unsigned id, const wchar_t* end, va_list arguments) {
  const auto compose = [&] {
    const std::wstring& text = messages.Text(id);
    // Nothing but line feeds: the search ends at npos, whose successor is 0.
    scratch.assign(text, 0, text.find_last_not_of(L'\n') + 1);
    scratch.append(end);
  };
  return FindsMemory(compose, &lastError) ? PrintFormatted(buffer, scratch.c_str(), arguments) : 0;
}

int LogFile::PrintRaw(int buffer, const wchar_t* format, ...) {
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
  const int result = PrintFormatted(buffer, format, arguments);
  va_end(arguments);
  return result;
}

int LogFile::print(int buffer, const wchar_t* format, va_list arguments) {
  return PrintFormatted(buffer, format, arguments);
}

int LogFile::print(int buffer, unsigned id, ...) {
  va_list arguments;
  va_start(arguments, id);
  const int result = PrintMessage(buffer, id, kLineEnd, arguments);
  va_end(arguments);
  return result;
}

int LogFile::print(int buffer, unsigned id, va_list arguments) {
  return PrintMessage(buffer, id, kLineEnd, arguments);
}

int LogFile::printerror(int buffer, const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = PrintFormatted(buffer, format, arguments);
  va_end(arguments);
  return result;
}

int LogFile::printerror(int buffer, unsigned id, ...) {
  va_list arguments;
  va_start(arguments, id);
  const int result = PrintMessage(buffer, id, kLineEnd, arguments);
  va_end(arguments);
  return result;
}

int LogFile::printTMP(int buffer, const wchar_t* text) {
  return text ? PrintRaw(buffer, L"%s", text) : Refuse(ERROR_INVALID_PARAMETER);
}

int LogFile::printTMPNewLine(int buffer) { return printTMP(buffer, L""); }

int LogFile::printTMP(int buffer, const wchar_t* tag, unsigned id, ...) {
  va_list arguments;
  va_start(arguments, id);
  const int result = printTMP(buffer, tag, id, arguments);
  va_end(arguments);
  return result;
}

int LogFile::printTMP(int buffer, const wchar_t* tag, unsigned id, va_list arguments) {
  if (printTMP(buffer, tag)) PrintMessage(buffer, id, kNoLineEnd, arguments);
  return printclosingtag(buffer, tag);
}

int LogFile::printTMP(int buffer, const wchar_t* tag, const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = PrintEntryBody(buffer, tag, format, arguments);
  printclosingtag(buffer, tag);
  va_end(arguments);
  return result;
}

int LogFile::printTMP(int buffer, const wchar_t* tag, const wchar_t* format, va_list arguments) {
  PrintEntryBody(buffer, tag, format, arguments);
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
  const int result = PrintEntryBody(buffer, tag, format, arguments);
  printclosingtag(buffer, tag);
  va_end(arguments);
  return result;
}

int LogFile::PrintEntryBody(int buffer, const wchar_t* tag, const wchar_t* format,
                            va_list arguments) {
  return printTMP(buffer, tag) ? PrintFormatted(buffer, format, arguments) : 0;
}

int LogFile::printTagWithAttribute(int buffer, const wchar_t* tag, const wchar_t* value) {
  return PrintRaw(buffer, tag, value);
}

int LogFile::printTMPDataWithoutXMLTags(int buffer, const wchar_t* format,
                                        const wchar_t* argument) {
  return print(buffer, format, argument);
}

int LogFile::printclosingtag(int buffer, const wchar_t* tag) {
  if (!tag) return Refuse(ERROR_INVALID_PARAMETER);
  bool isTag = false;
  if (!ReadsText([&] { isTag = MakeClosingTag(tag, scratch); }, &lastError)) return 0;
  return isTag ? printTMP(buffer, scratch.c_str()) : 0;
}

// What stands in front of a message with a unique message identifier: the tag and the identifier.
int LogFile::PrintIdentifiedTag(int buffer, long umi, const wchar_t* tag) {
  const UmiPrefix prefix(static_cast<std::uint32_t>(umi));
  return printTMP(buffer, tag) && PrintRaw(buffer, L"%s - ", prefix.Text());
}

int LogFile::printerrorUMI(int buffer, long umi, const wchar_t* tag, unsigned id, ...) {
  va_list arguments;
  va_start(arguments, id);
  const int body =
      PrintIdentifiedTag(buffer, umi, tag) && PrintMessage(buffer, id, kNoLineEnd, arguments);
  va_end(arguments);
  return printclosingtag(buffer, tag) && body;
}

int LogFile::printerrorUMI(int buffer, long umi, const wchar_t* tag, const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int body =
      PrintIdentifiedTag(buffer, umi, tag) && PrintFormatted(buffer, format, arguments);
  va_end(arguments);
  return printclosingtag(buffer, tag) && body;
}

int LogFile::printerrorUMIDisableConvertXML(int buffer, long umi, const wchar_t* tag, unsigned id,
                                            ...) {
  va_list arguments;
  va_start(arguments, id);
  int body = PrintIdentifiedTag(buffer, umi, tag);
  escape = 0;
  body = body && PrintMessage(buffer, id, kNoLineEnd, arguments);
  escape = 1;
  va_end(arguments);
  return printclosingtag(buffer, tag) && body;
}

int& LogFile::Depth(int buffer) { return IsSlot(buffer) ? depths[buffer] : fileDepth; }

int LogFile::CloseDirectories(int buffer) {
  if (directoryTag.empty()) return 0;
  int& depth = Depth(buffer);
  int result = depth == 0 ? 1 : 0;
  for (; depth > 0; --depth) result |= printclosingtag(buffer, directoryTag.c_str());
  return result;
}

int LogFile::printTMPdir(int buffer, const wchar_t* tag, unsigned id, const wchar_t* directory) {
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
  for (int n = 0; n < steps.closings; ++n) written &= printclosingtag(buffer, tag) != 0;
  for (int n = 0; n < steps.openings; ++n) written &= printTMP(buffer, tag) != 0;
  if (components > 0) written &= printTMP(buffer, kDirectoryNameTag, id, directory) != 0;
  return written;
}
