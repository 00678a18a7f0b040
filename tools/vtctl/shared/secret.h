#ifndef VTCLASS_TOOLS_VTCTL_SHARED_SECRET_H
#define VTCLASS_TOOLS_VTCTL_SHARED_SECRET_H

#include <vtclass/win32.h>

#include <cstddef>
#include <string>

namespace vtctl {

/* A secret while a command needs it. Its memory is taken at once, so that up to kMost bytes never
 * move and leave a copy behind, and is wiped at the end. */
class Secret {
 public:
  static constexpr std::size_t kMost = 65536;

  Secret() { text.reserve(kMost + 2); }
  ~Secret() { ::SecureZeroMemory(text.data(), text.capacity()); }
  Secret(const Secret&) = delete;
  Secret& operator=(const Secret&) = delete;

  std::string text; /* bytes */
};

/* A password as the system takes it, of bytes in UTF-8 or else in the ANSI code page; wiped at the
 * end. */
class WidePassword {
 public:
  explicit WidePassword(const Secret& secret);
  ~WidePassword() { ::SecureZeroMemory(text.data(), text.capacity() * sizeof(wchar_t)); }
  WidePassword(const WidePassword&) = delete;
  WidePassword& operator=(const WidePassword&) = delete;

  const wchar_t* Text() const { return text.c_str(); }

 private:
  std::wstring text;
};

/* How a secret is asked for. */
struct SecretQuestion {
  const wchar_t* prompt = L"";
  const wchar_t* again = nullptr; /* at a terminal, the prompt for a second time: both must agree */
  bool isShown = false;           /* at a terminal, while it is typed */
  bool isOneLine = false;         /* of what does not come from a terminal; otherwise all of it */
};

/*
 * Reads a secret from standard input: at a terminal one line, in UTF-8, with the prompt on standard
 * error; otherwise bytes as they are. The line feed that ends it, with a carriage return in front,
 * is not part of it. Returns kExitClean, or the exit code after it has said what went wrong.
 */
int ReadSecret(const SecretQuestion& question, Secret& secret);

/* Asks for the password of an account: one line, without echo. Refuses what the system would take
 * for another password than was meant: a zero byte, where it ends, and a byte order mark. */
int ReadPassword(const std::wstring& account, Secret& password);

}  // namespace vtctl

#endif
