#include "tools/vtctl/doctor/logs_check.h"

#include <vtclass/win32.h>

#include <algorithm>
#include <map>

#include "platform/owned.h"
#include "platform/same_name.h"
#include "tools/vtctl/doctor/checks.h"
#include "tools/vtctl/doctor/product_values.h"
#include "tools/vtctl/shared/key_path.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/paths.h"
#include "tools/vtctl/shared/system_text.h"
#include "tools/vtctl/shared/volume.h"

namespace vtctl::doctor {
namespace {

using namespace vtclass::config;
using vtclass::platform::OwnedFile;
using vtclass::platform::OwnedFileSearch;

// The system's status: 0 for a folder.
unsigned long FolderError(const Path& place) {
  if (place.Error() != 0) return place.Error();
  const DWORD attributes = ::GetFileAttributesW(place.System().c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return ::GetLastError();
  return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? ERROR_SUCCESS : ERROR_DIRECTORY;
}

// The folder's own files.
void Count(LogFolder& folder, const Path& place) {
  WIN32_FIND_DATAW entry = {};
  const OwnedFileSearch search(::FindFirstFileW((place / L"*").System().c_str(), &entry));
  if (!search) {
    const DWORD error = ::GetLastError();
    folder.listError = IsMissing(error) ? ERROR_SUCCESS : error;
    return;
  }
  do {
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) continue;
    ++folder.files;
    folder.size += uint64_t{entry.nFileSizeHigh} << 32 | entry.nFileSizeLow;
  } while (::FindNextFileW(search.Get(), &entry));
}

// Makes a file of a name that nobody has, and writes to it: the system deletes it when it is
// closed, even where this process ends first. A file that is there already is never touched.
unsigned long WriteError(const Path& place) {
  static constexpr char kBlock[4096] = {};  // more than a file system keeps beside the name
  const std::wstring name = L"vtctl-doctor-" + std::to_wstring(::GetCurrentProcessId()) + L"-" +
                            std::to_wstring(::GetTickCount64()) + L".tmp";
  const OwnedFile file(
      ::CreateFileW((place / name).System().c_str(), GENERIC_WRITE | DELETE, 0, nullptr, CREATE_NEW,
                    FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
  if (!file) return ::GetLastError();
  DWORD written = 0;
  if (!::WriteFile(file.Get(), kBlock, sizeof kBlock, &written, nullptr)) return ::GetLastError();
  return written == sizeof kBlock ? ERROR_SUCCESS : ERROR_DISK_FULL;
}

void Measure(LogFolder& folder, const Path& place) {
  ULARGE_INTEGER freeSpace = {};
  if (!::GetDiskFreeSpaceExW((place / L"").System().c_str(), &freeSpace, nullptr, nullptr)) {
    folder.spaceError = ::GetLastError();
  }
  folder.freeSpace = freeSpace.QuadPart;
}

bool IsInTable(const std::wstring& name) {
  const auto isIt = [&](const RegistryValue* value) {
    return &value->key == &kLoggingKey && vtclass::platform::IsSameName(value->name, name);
  };
  return std::ranges::any_of(kMonitoredValues, isIt) || std::ranges::any_of(kOtherValues, isIt);
}

bool IsSlash(wchar_t unit) { return unit == L'\\' || unit == L'/'; }

bool StartsWithTwoSlashes(std::wstring_view text) {
  return text.size() > 1 && IsSlash(text[0]) && IsSlash(text[1]);
}

// "C:\..."
bool StartsWithDrive(std::wstring_view text) {
  const bool hasLetter = !text.empty() && ((text[0] >= L'A' && text[0] <= L'Z') ||
                                           (text[0] >= L'a' && text[0] <= L'z'));
  return hasLetter && text.size() > 2 && text[1] == L':' && IsSlash(text[2]);
}

// A name that the system takes for a device in every folder, whatever follows its first dot.
bool IsDeviceName(std::wstring_view name) {
  const std::wstring_view stem = name.substr(0, name.find_first_of(L".: "));
  for (const wchar_t* const device : {L"CON", L"PRN", L"AUX", L"NUL"}) {
    if (vtclass::platform::IsSameName(stem, device)) return true;
  }
  if (stem.size() != 4 || stem[3] < L'1' || stem[3] > L'9') return false;
  return vtclass::platform::IsSameName(stem.substr(0, 3), L"COM") ||
         vtclass::platform::IsSameName(stem.substr(0, 3), L"LPT");
}

// Components keep the paths of their logs in the logging key, under names of their own.
void AskFolders(const std::map<std::wstring, Value>& values, std::vector<LogFolder>& folders) {
  for (const auto& [name, value] : values) {
    if (!IsText(value.type) || IsInTable(name)) continue;
    folders.push_back(LookAtLogFolder(name, TextOf(value), LogPlace::file));
  }
}

LogsState AskLogs() {
  const std::vector<StoredValue> values = ReadProductValues();
  const StoredKey logging = ReadProductKey(kLoggingKey.Path());
  const StoredValue& sdkPath = ValueAmong(values, kSdkLogPath);
  LogsState state;
  if (ValueAmong(values, kCreateDebugLog).Came() != Reading::unreadable) {
    state.isOn = NumberIn(values, kCreateDebugLog) != 0;
  }
  vtclass::log::LimitsFrom(SizeSettingsIn(values), &state.limits);
  AskFolders(logging.contents.values, state.folders);
  if (sdkPath.Came() == Reading::usable) {
    state.folders.push_back(
        LookAtLogFolder(kSdkLogPath.name, TextIn(values, kSdkLogPath), LogPlace::folder));
  }
  if (logging.error != 0) state.unread.push_back({kLoggingKey.Path(), logging.error});
  if (sdkPath.error != 0) state.unread.push_back({kDebugKey.Path(), sdkPath.error});
  return state;
}

Finding JudgeSwitch(const LogsState& state) {
  if (!state.isOn.value_or(false)) {
    return {.code = "logs-off", .what = L"Debug logs are off (\"CreateDebugLog\" is 0)."};
  }
  if (state.limits.mode == vtclass::log::LimitMode::simpleRoll) {
    return {.verdict = Verdict::warning,
            .code = "logs-unlimited",
            .what = L"Debug logs are on, and nothing limits them.",
            .reason = L"A log goes on in a further file every 20 MB, and none is deleted.",
            .remedy =
                L"vtctl settings set \"MaxDebugFile Enabled\" 1. If it is 1 already, the check "
                L"\"values\" names the value that stands against it."};
  }
  return {.code = "logs-on",
          .what = L"Debug logs are on, each of " + WithUnit(state.limits.maximum) + L" at most."};
}

Finding JudgeUnread(const UnreadLogKey& key) {
  return {.verdict = Verdict::problem,
          .code = "logs-unknown",
          .what = ShownKey(key.path) + L" cannot be read: " + SystemText(key.error),
          .reason = L"Whether debug logs are on, and where they lie, is not known to the end.",
          .remedy = kLetRead,
          .path = KeyName({HKEY_LOCAL_MACHINE, key.path}),
          .status = key.error};
}

bool IsFull(unsigned long error) {
  return error == ERROR_DISK_FULL || error == ERROR_HANDLE_DISK_FULL;
}

// The folder cannot be used as it is; false where it can.
bool JudgeObstacle(const LogFolder& folder, const std::wstring& where, Finding& finding) {
  if (!folder.fault.empty()) {
    finding.code = "log-path-unusable";
    finding.what = L"\"" + folder.value + L"\" holds no path of a log" +
                   (folder.path.empty() ? L"." : L": " + folder.path);
    finding.reason = folder.fault;
    finding.remedy = L"Store a full path such as C:\\Logs\\agent.log, or delete the value.";
  } else if (IsMissing(folder.error)) {
    finding.code = "log-folder-missing";
    finding.what = where + L" is not there: " + SystemText(folder.error);
    finding.reason = L"The component that keeps its debug log there writes none.";
    finding.remedy = L"Make the folder, or delete the value: the component stores it anew.";
  } else if (folder.error != 0) {
    finding.code = "log-folder-unreachable";
    finding.what = where + L" cannot be reached: " + SystemText(folder.error);
    finding.reason = L"A component with this account writes no debug log there.";
    finding.remedy =
        L"Run this as the agents' account; if that is this one, let it reach the "
        L"folder, or store another path.";
  } else if (IsFull(folder.writeError)) {
    finding.code = "log-space-low";
    finding.what = where + L" has no space left: " + SystemText(folder.writeError);
    finding.reason = L"Lines of the debug log are lost.";
    finding.remedy = L"Make room on its volume.";
  } else if (folder.writeError != 0) {
    finding.code = "log-folder-not-writable";
    finding.what = where + L" cannot be written: " + SystemText(folder.writeError);
    finding.reason = L"A component with this account writes no debug log there.";
    finding.remedy = L"Run this as the agents' account; if that is this one, let it write there.";
  } else if (folder.spaceError != 0) {
    finding.code = "log-space-unknown";
    finding.what =
        L"How much space " + where + L" has left cannot be told: " + SystemText(folder.spaceError);
    finding.reason = L"Lines of the debug log are lost once it is full.";
    finding.remedy = L"vtctl volumes tells more of its volume.";
  } else if (folder.freeSpace < kLeastLogSpace) {
    finding.code = "log-space-low";
    finding.what = where + L" has " + WithUnit(folder.freeSpace) + L" of space left.";
    finding.reason = L"Lines of the debug log are lost once it is full.";
    finding.remedy = L"Make room on its volume.";
  } else {
    return false;
  }
  for (const unsigned long error : {folder.error, folder.writeError, folder.spaceError}) {
    if (finding.status == 0) finding.status = error;
  }
  return true;
}

Finding JudgeFolder(const LogFolder& folder, const LogsState& state) {
  const bool isOn = state.isOn.value_or(true);
  const std::wstring where = folder.folder + L" (\"" + folder.value + L"\")";
  Finding finding = {.verdict = isOn ? Verdict::problem : Verdict::warning, .path = folder.path};
  if (JudgeObstacle(folder, where, finding)) return finding;
  const bool isLimited = state.limits.mode != vtclass::log::LimitMode::simpleRoll;
  if (isOn && isLimited && state.limits.maximum > folder.size &&
      state.limits.maximum - folder.size > folder.freeSpace) {
    finding.verdict = Verdict::warning;
    finding.code = "log-limit-above-space";
    finding.what = where + L" has " + WithUnit(folder.freeSpace) +
                   L" of space left, and a log may take " + WithUnit(state.limits.maximum) + L".";
    finding.reason = L"The volume is full before the limit counts.";
    finding.remedy =
        L"Make room on its volume, or lower the limit: vtctl settings set \"MaxDebugFile Size In "
        L"MB\" N.";
    return finding;
  }
  const std::wstring files = folder.listError == 0
                                 ? L" Files: " + std::to_wstring(folder.files) + L", " +
                                       WithUnit(folder.size) + L" in all; free: "
                                 : L" Its files cannot be listed; free: ";
  finding.verdict = Verdict::ok;
  finding.code = "log-folder-usable";
  finding.what = where + L" can be written." + files + WithUnit(folder.freeSpace) + L".";
  return finding;
}

}  // namespace

std::wstring FaultOf(std::wstring_view path, LogPlace place) {
  if (path.empty()) return L"It is empty.";
  if (path.front() == L'"' || path.back() == L'"') {
    return L"It stands in quotation marks, which are part of no file's name.";
  }
  if (path.front() == L' ') return L"It begins with a blank.";
  if (path.front() == L'%') return L"Nobody replaces variables in it.";
  const bool isExtended = path.starts_with(L"\\\\?\\");
  if (path.starts_with(L"\\\\.\\")) return L"It names a device.";
  const std::wstring_view names = isExtended ? path.substr(4) : path;
  const bool isFull = StartsWithDrive(names) ||
                      (isExtended ? names.starts_with(L"UNC\\") || names.starts_with(L"Volume{")
                                  : StartsWithTwoSlashes(names));
  if (!isFull) return L"It is no full path: where it leads depends on who reads it.";
  const auto isForbidden = [](wchar_t unit) {
    return unit < L' ' || std::wstring_view(L"<>\"|?*").find(unit) != std::wstring_view::npos;
  };
  if (std::ranges::any_of(names, isForbidden)) {
    return L"It holds a character that no file's name can have.";
  }
  const std::wstring_view last = names.substr(names.find_last_of(L"\\/") + 1);
  if (last.empty() && place == LogPlace::file) return L"It names a folder and no file.";
  return IsDeviceName(last) ? L"It names a device." : L"";
}

LogFolder LookAtLogFolder(const std::wstring& value, const std::wstring& path, LogPlace place) {
  LogFolder folder = {.value = value, .path = path, .fault = FaultOf(path, place)};
  if (!folder.fault.empty()) return folder;
  const bool isFolder = FolderError(Path(path)) == 0;
  if (isFolder && place == LogPlace::file) {
    folder.fault = L"It is a folder, so that no file can have the name.";
    return folder;
  }
  folder.folder = isFolder ? path : path.substr(0, path.find_last_of(L"\\/") + 1);
  const Path itself(folder.folder);
  folder.error = FolderError(itself);
  if (folder.error != 0) return folder;
  folder.writeError = WriteError(itself);
  Count(folder, itself);
  Measure(folder, itself);
  return folder;
}

Findings JudgeLogs(const LogsState& state) {
  Findings findings;
  for (const UnreadLogKey& key : state.unread) findings.push_back(JudgeUnread(key));
  if (state.isOn) findings.push_back(JudgeSwitch(state));
  for (const LogFolder& folder : state.folders) findings.push_back(JudgeFolder(folder, state));
  if (state.folders.empty() && state.unread.empty()) {
    findings.push_back(
        {.code = "no-log-folder", .what = L"No component has stored where its debug log lies."});
  }
  return findings;
}

void CheckLogs(Found& found) { found.Add(JudgeLogs(AskLogs())); }

}  // namespace vtctl::doctor
