#include "tools/vtctl/shared/console.h"

#include <vtclass/win32.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <span>

#include "tools/vtctl/shared/exit_code.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

// A console takes only so much in one call; older systems share one 64 KB heap for it.
constexpr size_t kConsoleUnits = 8192;

bool outputIsDropped = false;
bool outputIsLost = false;
bool coloursAreForbidden = false;

// This and the next two answer false when not all could be written.
bool WriteToConsole(HANDLE console, std::wstring_view text) {
  while (!text.empty()) {
    size_t count = std::min(text.size(), kConsoleUnits);
    // A surrogate pair that is cut in two shows as two boxes.
    if (count < text.size() && IS_HIGH_SURROGATE(text[count - 1])) --count;
    DWORD written = 0;
    if (!::WriteConsoleW(console, text.data(), static_cast<DWORD>(count), &written, nullptr) ||
        written == 0) {
      return false;
    }
    text.remove_prefix(std::min<size_t>(written, text.size()));
  }
  return true;
}

bool WriteToFile(HANDLE file, std::string_view bytes) {
  while (!bytes.empty()) {
    const size_t most = std::numeric_limits<int>::max();
    const auto count = static_cast<DWORD>(std::min(bytes.size(), most));
    DWORD written = 0;
    if (!::WriteFile(file, bytes.data(), count, &written, nullptr) || written == 0) return false;
    bytes.remove_prefix(written);
  }
  return true;
}

bool WriteTo(DWORD stream, std::wstring_view text) {
  const HANDLE handle = ::GetStdHandle(stream);
  DWORD mode = 0;
  return ::GetConsoleMode(handle, &mode) ? WriteToConsole(handle, text)
                                         : WriteToFile(handle, ToUtf8(text));
}

int WidthOf(DWORD stream) {
  CONSOLE_SCREEN_BUFFER_INFO info = {};
  if (!::GetConsoleScreenBufferInfo(::GetStdHandle(stream), &info)) return 80;
  return std::max(20, info.srWindow.Right - info.srWindow.Left + 1);
}

// The console's mode with escape sequences switched on, or false when it knows none.
bool EnableEscapeSequences(HANDLE console) {
  DWORD mode = 0;
  if (!::GetConsoleMode(console, &mode)) return false;
  if (mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) return true;
  return ::SetConsoleMode(
             console, mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != FALSE;
}

}  // namespace

void Print(std::wstring_view text) {
  if (!outputIsDropped && !WriteTo(STD_OUTPUT_HANDLE, text)) outputIsLost = true;
}

void PrintError(std::wstring_view text) { WriteTo(STD_ERROR_HANDLE, text); }

void Remark(const std::wstring& sentence) { PrintError(L"vtctl: " + Printable(sentence) + L"\n"); }

int Fail(int exitCode, const std::wstring& sentence) { return FailWith(exitCode, 0, sentence); }

int Fail(int exitCode, const std::wstring& what, unsigned long status) {
  return FailWith(exitCode, status, what + L": " + SystemText(status));
}

int FailWith(int exitCode, unsigned long status, const std::wstring& sentence) {
  Remark(sentence);
  PrintFailureAsJson(exitCode, status, sentence);
  return exitCode;
}

void PrintUtf8(std::string_view text) { Print(FromUtf8(text)); }

void PrintSecret(std::string_view bytes) {
  if (outputIsDropped || bytes.empty()) return;
  const HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
  DWORD mode = 0;
  if (!::GetConsoleMode(output, &mode)) {
    if (!WriteToFile(output, bytes)) outputIsLost = true;
    return;
  }
  const int size = static_cast<int>(bytes.size());
  const auto units = std::make_unique<wchar_t[]>(bytes.size());  // never more than bytes
  const auto convert = [&](UINT codePage, DWORD flags) {
    // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): the length goes with it.
    return ::MultiByteToWideChar(codePage, flags, bytes.data(), size, units.get(), size);
  };
  int count = convert(CP_UTF8, MB_ERR_INVALID_CHARS);
  if (count == 0) count = convert(CP_ACP, 0);
  const std::span<wchar_t> text(units.get(), static_cast<size_t>(std::max(count, 0)));
  MakePrintable(text);
  if (!WriteToConsole(output, {text.data(), text.size()})) outputIsLost = true;
  ::SecureZeroMemory(units.get(), bytes.size() * sizeof(wchar_t));
}

int EndCode(int code) {
  if (!outputIsLost) return code;
  Remark(L"Standard output cannot be written.");
  return kExitCannotWrite;
}

bool OutputIsLost() { return outputIsLost; }

void DropOutput() { outputIsDropped = true; }

bool OutputIsTerminal() { return EnableEscapeSequences(::GetStdHandle(STD_OUTPUT_HANDLE)); }

void ForbidColours() { coloursAreForbidden = true; }

bool ColoursWanted() {
  wchar_t forbidden[2] = L"";
  ::GetEnvironmentVariableW(L"NO_COLOR", forbidden, ARRAYSIZE(forbidden));
  return !coloursAreForbidden && forbidden[0] == L'\0' && OutputIsTerminal();
}

int TerminalWidth() { return WidthOf(STD_OUTPUT_HANDLE); }

bool ErrorIsTerminal() { return EnableEscapeSequences(::GetStdHandle(STD_ERROR_HANDLE)); }

// The last column stays free: writing there would move to the next line.
size_t StatusColumns() { return static_cast<size_t>(WidthOf(STD_ERROR_HANDLE) - 1); }

// The cursor waits at the line's start.
void PrintStatus(const std::wstring& line) { PrintError(Fitted(line, StatusColumns()) + L"\r"); }

void ClearStatus() { PrintStatus({}); }

std::wstring FromUtf8(std::string_view text) {
  if (text.empty() || text.size() > std::numeric_limits<int>::max()) return {};
  const int bytes = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');  // never more units than bytes
  // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): the length goes with it.
  const int units = ::MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, wide.data(), bytes);
  wide.resize(static_cast<size_t>(std::max(units, 0)));
  return wide;
}

std::string ToUtf8(std::wstring_view text) {
  if (text.empty() || text.size() > std::numeric_limits<int>::max() / 3) return {};
  const int units = static_cast<int>(text.size());
  std::string bytes(text.size() * 3, '\0');  // never more than three bytes for a unit
  // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): the length goes with it.
  const int count = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), units, bytes.data(), units * 3,
                                          nullptr, nullptr);
  bytes.resize(static_cast<size_t>(std::max(count, 0)));
  return bytes;
}

}  // namespace vtctl
