#include "tools/vtctl/shared/secret.h"

#include <string_view>

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/exit_code.h"
#include "tools/vtctl/shared/interrupt.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"
#include "tools/vtctl/shared/wait.h"

namespace vtctl {
namespace {

// Characters of a terminal's line.
constexpr std::size_t kLineUnits = 16384;
static_assert(kLineUnits * 3 <= Secret::kMost);

class TypedLine {
 public:
  TypedLine() = default;
  ~TypedLine() { ::SecureZeroMemory(units, sizeof units); }
  TypedLine(const TypedLine&) = delete;
  TypedLine& operator=(const TypedLine&) = delete;

  void Add(wchar_t unit) {
    if (count == kLineUnits) {
      isTooLong = true;
    } else {
      units[count++] = unit;
    }
  }
  // False when there is none.
  bool DropLast() {
    if (count == 0) return false;
    const wchar_t last = units[--count];
    if (IS_LOW_SURROGATE(last) && count > 0) --count;
    return true;
  }
  std::wstring_view Text() const { return {units, count}; }
  bool IsTooLong() const { return isTooLong; }

 private:
  wchar_t units[kLineUnits];
  std::size_t count = 0;
  bool isTooLong = false;
};

// A terminal that hands over keys as they are pressed, and shows none; as it was at the end.
class KeyMode {
 public:
  KeyMode(HANDLE console, DWORD mode) : console(console), before(mode) {
    ::SetConsoleMode(console, ENABLE_PROCESSED_INPUT);  // Ctrl+C stays an interrupt
  }
  ~KeyMode() { ::SetConsoleMode(console, before); }
  KeyMode(const KeyMode&) = delete;
  KeyMode& operator=(const KeyMode&) = delete;

 private:
  HANDLE console;
  DWORD before;
};

// The character of a key press, 0 where it has none. One that is composed of digits comes when Alt
// is released.
wchar_t TypedUnit(const INPUT_RECORD& record) {
  const KEY_EVENT_RECORD& key = record.Event.KeyEvent;
  if (record.EventType != KEY_EVENT || (!key.bKeyDown && key.wVirtualKeyCode != VK_MENU)) return 0;
  return key.uChar.UnicodeChar;
}

// Up to the Enter key. Reading a whole line at once would not end at Ctrl+C everywhere.
WaitEnd ReadKeys(HANDLE console, bool isShown, TypedLine& line) {
  for (;;) {
    const WaitEnd end = WaitFor(console, INFINITE);
    if (end != WaitEnd::signalled) return end;
    INPUT_RECORD record = {};
    DWORD count = 0;
    if (!::ReadConsoleInputW(console, &record, 1, &count)) return WaitEnd::failed;
    const wchar_t unit = TypedUnit(record);
    if (unit == L'\r' || unit == L'\n') return WaitEnd::signalled;
    if (unit == L'\b') {
      if (line.DropLast() && isShown) PrintError(L"\b \b");
    } else if (unit != 0) {
      line.Add(unit);
      if (isShown) PrintError(Printable({&unit, 1}));
    }
  }
}

int NotReadable(DWORD error) { return Fail(kExitNoInput, L"Standard input cannot be read", error); }

int TooLong() {
  return Fail(kExitBadInput, L"The text is too long: more than " + std::to_wstring(Secret::kMost) +
                                 L" bytes, or, when it is typed, more than " +
                                 std::to_wstring(kLineUnits) + L" characters.");
}

void DropLineEnd(std::string& text) {
  if (!text.ends_with('\n')) return;
  text.pop_back();
  if (text.ends_with('\r')) text.pop_back();
}

int ReadLine(HANDLE console, DWORD mode, const wchar_t* prompt, bool isShown, Secret& secret) {
  TypedLine line;
  PrintError(prompt);
  WaitEnd end;
  DWORD error = ERROR_SUCCESS;
  {
    const KeyMode keys(console, mode);
    end = ReadKeys(console, isShown, line);
    error = ::GetLastError();
  }
  PrintError(L"\n");
  if (end == WaitEnd::interrupted) return kExitCancelled;
  if (end == WaitEnd::failed) return NotReadable(error);
  if (line.IsTooLong()) return TooLong();
  const std::wstring_view text = line.Text();
  secret.text.resize(Secret::kMost);
  // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): the length goes with it.
  const int bytes =
      ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                            secret.text.data(), static_cast<int>(Secret::kMost), nullptr, nullptr);
  secret.text.resize(static_cast<std::size_t>(bytes));
  return kExitClean;
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
  // Nothing at all is no empty line.
  if (isOneLine && text.empty()) {
    return Fail(kExitNoInput, L"Standard input is at its end, where a line was expected.");
  }
  DropLineEnd(text);
  return text.size() <= Secret::kMost ? kExitClean : TooLong();
}

}  // namespace

// Never more characters than bytes, so the text is not moved.
WidePassword::WidePassword(const Secret& secret) : text(secret.text.size(), L'\0') {
  const int size = static_cast<int>(secret.text.size());
  const auto convert = [&](UINT codePage, DWORD flags) {
    return ::MultiByteToWideChar(codePage, flags, secret.text.c_str(), size, text.data(), size);
  };
  int count = convert(CP_UTF8, MB_ERR_INVALID_CHARS);
  if (count == 0) count = convert(CP_ACP, 0);
  text.resize(static_cast<std::size_t>(count));
}

int ReadSecret(const SecretQuestion& question, Secret& secret) {
  const HANDLE input = ::GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode = 0;
  secret.text.clear();
  return ::GetConsoleMode(input, &mode) ? ReadTwice(input, mode, question, secret)
                                        : ReadBytes(input, question.isOneLine, secret);
}

int ReadPassword(const std::wstring& account, Secret& password) {
  const std::wstring prompt = L"Password of " + Printable(account) + L" (not shown): ";
  const int code = ReadSecret({.prompt = prompt.c_str(), .isOneLine = true}, password);
  if (code != kExitClean) return code;
  const bool isOtherText =
      password.text.find('\0') != std::string::npos || password.text.starts_with("\xEF\xBB\xBF");
  return isOtherText ? Fail(kExitBadInput,
                            L"The password holds a zero byte or begins with a byte order mark. It "
                            L"should be UTF-8 without one.")
                     : kExitClean;
}

}  // namespace vtctl
