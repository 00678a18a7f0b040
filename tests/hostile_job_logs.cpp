// Writes job logs full of random hostile texts for an XML parser: hostile_job_logs FOLDER SEED
#include <vtclass/win32.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "tests/support/random_text.h"
#include "vtclass/log.h"

namespace {

constexpr int kLogs = 20;
constexpr int kEntries = 100;
constexpr wchar_t kLikenesses[] = L"\xFF1C\xFF1E\xFF06\xFF02\xFF07\x2329\x232A\x3008\x2039\x203A";
constexpr long kIdentified = static_cast<long>(0xE0008488);

std::wstring HostileText(std::mt19937& random) {
  std::wstring text = vtclass::strings::RandomText(random, random() % 300, random() % 100);
  for (wchar_t& unit : text) {
    if (random() % 20 == 0) unit = kLikenesses[random() % (std::size(kLikenesses) - 1)];
    if (random() % 50 == 0) unit = static_cast<wchar_t>(random());
    if (unit == 0) unit = L' ';
  }
  return text;
}

bool WriteEntry(LogFile& log, const std::wstring& text, unsigned kind) {
  const wchar_t* const words = text.c_str();
  switch (kind) {
    case 0:
      return log.print(-1, L"%s", words) != 0;
    case 1:
      return log.printTMP(-1, L"<job_name>", L"%s%s", words, words) != 0;
    case 2:
      return log.printerrorUMI(-1, kIdentified, L"<Warning Type=\"access_denied\">", L"%ws",
                               words) != 0;
    default:
      return log.printTMPDataWithoutXMLTags(0, L"%s", words) != 0;  // into the buffer
  }
}

bool WriteLog(const std::wstring& path, int unicode, std::mt19937& random) {
  StringResourceMgr messages;
  LogFile log(messages, unicode, -1, -1);
  bool written = log.Open(2, path.c_str()) == 1 && log.AllocateBuffer(0) == 0;
  log.EnterBufferedMode();
  for (int n = 0; n < kEntries && written; ++n) {
    const std::wstring text = HostileText(random);
    written = WriteEntry(log, text, random() % 4);
  }
  return log.FlushBufferToFileAndDeAllocate(0) == -1 && log.Close() == 1 && written;
}

}  // namespace

int wmain(int count, wchar_t** words) {
  if (count != 3) return 64;
  std::mt19937 random(static_cast<unsigned>(std::wcstoul(words[2], nullptr, 10)));
  // An ANSI log is what its header says where this is the system's page.
  const int encodings = ::GetACP() == 1252 ? 2 : 1;
  for (int n = 0; n < kLogs * encodings; ++n) {
    const std::wstring path = std::wstring(words[1]) + L"\\" + std::to_wstring(n) + L".xml";
    if (!WriteLog(path, n < kLogs ? 1 : 0, random)) {
      std::printf("Log %d could not be written.\n", n);
      return 1;
    }
  }
  return 0;
}
