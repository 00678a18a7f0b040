#include <vtclass/win32.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/owned.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/interrupt.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/secret.h"
#include "tools/vtctl/shared/system_text.h"
#include "tools/vtctl/shared/value.h"
#include "tools/vtctl/shared/value_text.h"
#include "vtclass/crypto.h"

namespace vtctl {
namespace {

constexpr const char* kDigestExamples =
    "The answer to an NDMP peer's challenge in an MD5 login, from the challenge and the user's\n"
    "password: 16 bytes as 32 hexadecimal digits. The password comes from standard input, one "
    "line,\n"
    "and is asked for without echo at a terminal. Its bytes are taken as they come, UTF-8 when "
    "typed.\n"
    "At most 31 bytes of a password count, as in the product.\n"
    "\n"
    "CHALLENGE is 64 bytes as 128 hexadecimal digits; blanks, commas, colons and hyphens between\n"
    "bytes are passed over.\n"
    "\n"
    "Examples:\n"
    "  vtctl digest ndmp 00112233445566778899aabbccddeeff... < password.txt\n"
    "\n"
    "Exit codes: 0 clean; 1 the password was cut to 31 bytes; 64 the challenge is none; 65 the\n"
    "password holds a zero byte; 70 the digest cannot be computed.";

constexpr const char* kHashExamples =
    "The library's own hash of 160 bits, for comparison with stored ones. It is no SHA-1, and no\n"
    "protection against forgery: it tells apart what differs by accident. It counts the bytes in "
    "32\n"
    "bits.\n"
    "\n"
    "Examples:\n"
    "  vtctl hash D:\\Data\\archive.bin\n"
    "  vtctl hash --json < archive.bin\n"
    "\n"
    "Exit codes: 0 clean; 66 the file is missing or cannot be read; 130 interrupted.";

constexpr std::size_t kChallengeBytes = 64;
constexpr std::size_t kMostPassword = 31;

struct DigestArguments : CommonArguments {
  std::wstring challenge;
};

int DigestNdmp(const DigestArguments& arguments) {
  auto challenge = ParseHex(arguments.challenge);
  if (!challenge || challenge->size() != kChallengeBytes) {
    const std::wstring found =
        challenge ? L"has " + std::to_wstring(challenge->size()) + L" bytes"
                  : std::wstring(L"does not consist of bytes of two hexadecimal digits");
    return Fail(kExitUsage, L"A challenge has 64 bytes, and this " + found + L".");
  }
  Secret password;
  const int code = ReadSecret({.prompt = L"Password (not shown): ", .isOneLine = true}, password);
  if (code != kExitClean) return code;
  if (password.text.find('\0') != std::string::npos) {
    return Fail(kExitBadInput,
                L"The password holds a zero byte, where it would end. Is it UTF-16?");
  }
  md5_ndmp login;
  login.SetMD5Password(password.text.data(), password.text.size());
  login.SetMD5Challenge(reinterpret_cast<char*>(challenge->data()));
  std::array<std::uint8_t, 16> digest = {};
  login.CreateMD5Digest(reinterpret_cast<char*>(digest.data()));
  login.SetMD5Password(nullptr, 0);
  if (digest == decltype(digest){}) return Fail(kExitInternal, L"The digest cannot be computed.");
  std::wstring text;
  for (const std::uint8_t byte : digest) text += HexDigits(byte, 2);
  const bool isCut = password.text.size() > kMostPassword;
  arguments.json ? PrintJson({{"digest", ToUtf8(text)}, {"passwordCut", isCut}})
                 : Print(text + L"\n");
  if (!isCut) return kExitClean;
  return Fail(kExitWarnings, L"The password has " + std::to_wstring(password.text.size()) +
                                 L" bytes; the first 31 were taken, as the product does.");
}

struct HashArguments : CommonArguments {
  Path file;
};

struct HashResult {
  DWORD error = ERROR_SUCCESS;
  std::uint64_t bytes = 0;
  std::array<unsigned, 5> words = {};
};

HashResult HashOf(HANDLE file) {
  constexpr DWORD kPieceBytes = 1 << 20;
  std::vector<char> piece(kPieceBytes);
  SecureHashAlgorithm hash;
  HashResult result;
  for (;;) {
    DWORD count = 0;
    if (!::ReadFile(file, piece.data(), kPieceBytes, &count, nullptr)) {
      result.error = ::GetLastError();
      // Of a pipe whose writer has ended.
      if (result.error != ERROR_BROKEN_PIPE) return result;
      result.error = ERROR_SUCCESS;
      count = 0;
    }
    if (Interrupted()) result.error = ERROR_CANCELLED;
    if (count == 0 || result.error != ERROR_SUCCESS) break;
    hash.hashBlock(piece.data(), count);
    result.bytes += count;
  }
  auto& [a, b, c, d, e] = result.words;
  hash.finishHash(a, b, c, d, e);
  return result;
}

void PrintHash(const HashResult& result, const std::wstring& name, bool json) {
  Json words = Json::array();
  std::wstring line;
  for (const unsigned word : result.words) {
    const std::wstring text = HexDigits(word, 8);
    words.push_back(ToUtf8(text));
    line += text + L" ";
  }
  if (json) {
    PrintJson({{"file", TextOrNull(name)}, {"bytes", result.bytes}, {"words", words}});
  } else {
    Print(line + L" " + (name.empty() ? L"-" : Printable(name)) + L"\n");
  }
}

int Hash(const HashArguments& arguments) {
  const std::wstring& name = arguments.file.Written();
  const bool isInput = name.empty() || name == L"-";
  vtclass::platform::OwnedFile file;
  if (!isInput) {
    file.Reset(::CreateFileW(arguments.file.System().c_str(), GENERIC_READ,
                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                             OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (!file) {
      return Fail(kExitNoInput, name + L" cannot be opened", ::GetLastError());
    }
  }
  const HashResult result = HashOf(isInput ? ::GetStdHandle(STD_INPUT_HANDLE) : file.Get());
  if (result.error == ERROR_CANCELLED) return kExitCancelled;
  if (result.error != ERROR_SUCCESS) {
    return Fail(kExitNoInput, (isInput ? L"Standard input" : name) + L" cannot be read",
                result.error);
  }
  PrintHash(result, isInput ? L"" : arguments.file.Stored(), arguments.json);
  return kExitClean;
}

}  // namespace

void AddDigestCommand(Command& program) {
  Command digest = program.AddGroup("digest", "Compute a login's digest", kDigestExamples);
  auto ndmp = digest.Add("ndmp", "The answer to the challenge of an NDMP peer's MD5 login",
                         kDigestExamples, DigestNdmp);
  ndmp.Text("CHALLENGE", ndmp->challenge, "The peer's challenge: 64 bytes in hexadecimal")
      .Required();
  ndmp.Json("One JSON object");
}

void AddHashCommand(Command& program) {
  auto hash = program.Add("hash", "Compute the library's own hash of a file", kHashExamples, Hash);
  hash.File("FILE", hash->file, "The file; \"-\" or nothing for standard input");
  hash.Json("One JSON object");
}

}  // namespace vtctl
