#include "tools/vtctl/shared/secret.h"

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/exit_code.h"
#include "tools/vtctl/shared/interrupt.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

// Characters of a terminal's line.
constexpr DWORD kLineUnits = 16384;
static_assert(kLineUnits * 3 <= Secret::kMost);

struct TypedLine {
  TypedLine() = default;
  ~TypedLine() { ::SecureZeroMemory(units, sizeof units); }
  TypedLine(const TypedLine&) = delete;
  TypedLine& operator=(const TypedLine&) = delete;

  wchar_t units[kLineUnits];
  DWORD count = 0;
};

// A terminal that reads whole lines and, where wanted, does not show them; as it was at the end.
class LineMode {
 public:
  LineMode(HANDLE console, DWORD mode, bool isShown) : console(console), before(mode) {
    mode |= ENABLE_LINE_INPUT | ENABLE_PROCESSED_INPUT;
    constexpr DWORD kEcho = ENABLE_ECHO_INPUT;
    ::SetConsoleMode(console, isShown ? mode | kEcho : mode & ~kEcho);
  }
  ~LineMode() { ::SetConsoleMode(console, before); }
  LineMode(const LineMode&) = delete;
  LineMode& operator=(const LineMode&) = delete;

 private:
  HANDLE console;
  DWORD before;
};

int NotReadable(DWORD error) {
  return Fail(kExitNoInput, L"Standard input cannot be read: " + SystemText(error));
}

int TooLong() {
  return Fail(kExitBadInput, L"The text is too long: more than " + std::to_wstring(Secret::kMost) +
                                 L" bytes, or, when it is typed, more than " +
                                 std::to_wstring(kLineUnits) + L" characters.");
}

bool DropLineEnd(std::string& text) {
  if (!text.ends_with('\n')) return false;
  text.pop_back();
  if (text.ends_with('\r')) text.pop_back();
  return true;
}

// Ctrl+C ends the reading before the mark of an interrupt need be there.
int ReadLine(HANDLE console, DWORD mode, const wchar_t* prompt, bool isShown, Secret& secret) {
  TypedLine line;
  PrintError(prompt);
  BOOL isRead = FALSE;
  DWORD error = ERROR_SUCCESS;
  {
    const LineMode lineMode(console, mode, isShown);
    ::SetLastError(ERROR_SUCCESS);
    isRead = ::ReadConsoleW(console, line.units, kLineUnits, &line.count, nullptr);
    error = ::GetLastError();
  }
  if (!isShown) PrintError(L"\n");
  if (Interrupted() || error == ERROR_OPERATION_ABORTED) return kExitCancelled;
  if (!isRead) return NotReadable(error);
  secret.text.resize(Secret::kMost);
  const int bytes =
      ::WideCharToMultiByte(CP_UTF8, 0, line.units, static_cast<int>(line.count),
                            secret.text.data(), static_cast<int>(Secret::kMost), nullptr, nullptr);
  secret.text.resize(static_cast<std::size_t>(bytes));
  return DropLineEnd(secret.text) || line.count < kLineUnits ? kExitClean : TooLong();
}

int ReadTwice(HANDLE console, DWORD mode, const SecretQuestion& question, Secret& secret) {
  const int code = ReadLine(console, mode, question.prompt, question.isShown, secret);
  if (code != kExitClean || !question.again) return code;
  Secret again;
  const int codeAgain = ReadLine(console, mode, question.again, question.isShown, again);
  if (codeAgain != kExitClean) return codeAgain;
  return again.text == secret.text ? kExitClean
                                   : Fail(kExitBadInput, L"The two texts are not the same.");
}

// A line is read byte by byte: what follows it is another reader's.
int ReadBytes(HANDLE file, bool isOneLine, Secret& secret) {
  std::string& text = secret.text;
  for (;;) {
    const std::size_t size = text.size();
    const std::size_t room = text.capacity() - size;
    if (room == 0) return TooLong();
    text.resize(isOneLine ? size + 1 : size + room);
    DWORD count = 0;
    const BOOL isRead = ::ReadFile(file, text.data() + size,
                                   isOneLine ? 1 : static_cast<DWORD>(room), &count, nullptr);
    const DWORD error = ::GetLastError();
    text.resize(size + count);
    if (Interrupted()) return kExitCancelled;
    if (!isRead && error != ERROR_BROKEN_PIPE) return NotReadable(error);
    if (count == 0 || (isOneLine && text.back() == '\n')) break;
  }
  DropLineEnd(text);
  return text.size() <= Secret::kMost ? kExitClean : TooLong();
}

}  // namespace

int ReadSecret(const SecretQuestion& question, Secret& secret) {
  const HANDLE input = ::GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode = 0;
  secret.text.clear();
  return ::GetConsoleMode(input, &mode) ? ReadTwice(input, mode, question, secret)
                                        : ReadBytes(input, question.isOneLine, secret);
}

}  // namespace vtctl
