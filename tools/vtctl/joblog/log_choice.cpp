#include "tools/vtctl/joblog/log_choice.h"

#include <vtclass/win32.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

#include "platform/extended_path.h"
#include "platform/owned.h"
#include "tools/vtctl/joblog/joblog_files.h"
#include "tools/vtctl/shared/exit_code.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

using vtclass::platform::OwnedFile;
using vtclass::platform::OwnedFileSearch;

bool IsPattern(const std::wstring& name) { return name.find_first_of(L"*?") != std::wstring::npos; }

std::wstring FolderOf(const std::wstring& path) {
  return path.substr(0, path.find_last_of(L"\\/:") + 1);  // npos + 1 is 0
}

bool IsFolder(const Path& path) {
  const DWORD attributes = ::GetFileAttributesW(path.System().c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

LogChoice Problem(const std::wstring& word, const std::wstring& words, int exitCode,
                  unsigned long status = 0) {
  return {{}, L"\"" + word + L"\" " + words, status, exitCode};
}

// Adds the files that the pattern stands for. The system's status.
DWORD AddMatches(const std::wstring& pattern, std::vector<Path>& logs) {
  const Path path(pattern);
  if (path.Error() != ERROR_SUCCESS) return path.Error();
  WIN32_FIND_DATAW entry = {};
  const OwnedFileSearch find(::FindFirstFileW(path.System().c_str(), &entry));
  if (!find) return ::GetLastError();
  std::vector<std::wstring> names;
  do {
    if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) names.emplace_back(entry.cFileName);
  } while (::FindNextFileW(find.Get(), &entry));
  if (::GetLastError() != ERROR_NO_MORE_FILES) return ::GetLastError();
  std::ranges::sort(names);
  for (const std::wstring& name : names) logs.emplace_back(FolderOf(pattern) + name);
  return names.empty() ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
}

// When a file was written last. A folder's own record of one that is being written may be old, so
// the file is asked; for its times alone nobody's lock keeps others out.
std::optional<std::uint64_t> LastWrite(const Path& log) {
  const OwnedFile file(::CreateFileW(log.System().c_str(), FILE_READ_ATTRIBUTES,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  FILETIME time = {};
  if (!file || !::GetFileTime(file.Get(), nullptr, nullptr, &time)) return std::nullopt;
  return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

// Of files written at the same time the last one. One that cannot be asked may be the newest: it is
// taken, and opening it tells the operator why not.
Path Newest(const std::vector<Path>& logs) {
  std::pair<std::uint64_t, const Path*> newest = {0, &logs.front()};
  for (const Path& log : logs) {
    const std::optional<std::uint64_t> time = LastWrite(log);
    if (!time) return log;
    if (*time >= newest.first) newest = {*time, &log};
  }
  return *newest.second;
}

// Why the word cannot be taken; no exit code when it can.
LogChoice Objection(const std::wstring& word, bool isFolder, bool latest) {
  if (isFolder && !latest) {
    return Problem(word, L"is a folder. --latest shows its newest job log.", kExitNoInput);
  }
  if (latest && word == kStandardInput) {
    return Problem(word, L"is standard input, which --latest cannot choose from.", kExitUsage);
  }
  const std::wstring folder = FolderOf(word);
  if (!IsPattern(folder) || folder.starts_with(vtclass::platform::kExtendedPrefix)) return {};
  return Problem(word, L"has a wildcard in a folder's name; only a file's name may have one.",
                 kExitUsage);
}

LogChoice NoMatch(const std::wstring& pattern, DWORD status) {
  const std::wstring words = status == ERROR_FILE_NOT_FOUND
                                 ? L"stands for no file."
                                 : L"cannot be listed: " + SystemText(status);
  return Problem(pattern, words, kExitNoInput, status);
}

}  // namespace

LogChoice ChooseLogs(const std::vector<std::wstring>& words, bool latest) {
  LogChoice choice;
  for (const std::wstring& word : words) {
    const Path path(word);
    const bool isPattern = IsPattern(word.substr(FolderOf(word).size()));
    const bool isFolder = word != kStandardInput && !isPattern && IsFolder(path);
    LogChoice objection = Objection(word, isFolder, latest);
    if (objection.exitCode != kExitClean) return objection;
    if (!isFolder && !isPattern) {
      choice.logs.push_back(path);
      continue;
    }
    const bool isEnded = word.ends_with(L'\\') || word.ends_with(L'/');
    const std::wstring pattern = isFolder ? word + (isEnded ? L"*.xml" : L"\\*.xml") : word;
    if (const DWORD status = AddMatches(pattern, choice.logs)) return NoMatch(pattern, status);
  }
  if (latest) choice.logs = {Newest(choice.logs)};
  return choice;
}

}  // namespace vtctl
