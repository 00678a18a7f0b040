#include "tools/vtctl/doctor/logs_check.h"

#include <vtclass/win32.h>

#include <algorithm>

#include "platform/owned.h"
#include "platform/same_name.h"
#include "tools/vtctl/doctor/checks.h"
#include "tools/vtctl/doctor/product_values.h"
#include "tools/vtctl/shared/key_reader.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/paths.h"
#include "tools/vtctl/shared/system_text.h"
#include "tools/vtctl/shared/volume.h"
#include "vtclass/volumes.h"

namespace vtctl::doctor {
namespace {

using namespace vtclass::config;
using vtclass::platform::OwnedFileSearch;

bool IsFolder(const std::wstring& systemPath) {
  const DWORD attributes = ::GetFileAttributesW(systemPath.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// The folder's own files.
void Count(LogFolder& folder, const Path& place) {
  WIN32_FIND_DATAW entry = {};
  const OwnedFileSearch search(::FindFirstFileW((place / L"*").System().c_str(), &entry));
  if (!search) return;
  do {
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) continue;
    ++folder.files;
    folder.size += uint64_t{entry.nFileSizeHigh} << 32 | entry.nFileSizeLow;
  } while (::FindNextFileW(search.Get(), &entry));
}

bool IsInTable(const std::wstring& name) {
  const auto isIt = [&](const RegistryValue* value) {
    return &value->key == &kLoggingKey && vtclass::platform::IsSameName(value->name, name);
  };
  return std::ranges::any_of(kMonitoredValues, isIt) || std::ranges::any_of(kOtherValues, isIt);
}

// "C:\..." and "\\server\...".
bool IsFullPath(std::wstring_view text) {
  return text.starts_with(L"\\\\") || (text.size() > 2 && text.substr(1).starts_with(L":\\"));
}

// Components keep the paths of their logs in the logging key, under names of their own.
std::vector<LogFolder> AskFolders(const std::vector<StoredValue>& values) {
  std::vector<LogFolder> folders;
  for (const auto& [name, value] : ReadKey(HKEY_LOCAL_MACHINE, kLoggingKey.Path()).values) {
    const std::wstring path = TextOf(value);
    if (!IsText(value.type) || IsInTable(name) || !IsFullPath(path)) continue;
    folders.push_back(LookAtLogFolder(name, path));
  }
  const std::wstring path = TextIn(values, kSdkLogPath);
  if (!path.empty()) folders.push_back(LookAtLogFolder(kSdkLogPath.name, path));
  return folders;
}

Finding JudgeSwitch(const LogsState& state) {
  if (!state.isOn) {
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

Finding JudgeFolder(const LogFolder& folder, bool isOn) {
  Finding finding = {.verdict = isOn ? Verdict::problem : Verdict::warning, .path = folder.folder};
  const std::wstring where = folder.folder + L" (\"" + folder.value + L"\")";
  finding.status = folder.error != 0 ? folder.error : folder.writeError;
  if (folder.error != 0) {
    finding.code = "log-folder-missing";
    finding.what = where + L" cannot be reached: " + SystemText(folder.error);
    finding.reason = L"The component that keeps its debug log there writes none.";
    finding.remedy = L"Make the folder, or delete the value: the component stores it anew.";
  } else if (folder.writeError != 0) {
    finding.code = "log-folder-not-writable";
    finding.what = where + L" cannot be written: " + SystemText(folder.writeError);
    finding.reason = L"A component with this account writes no debug log there.";
    finding.remedy = L"Run this as the agents' account; if that is this one, let it write there.";
  } else if (folder.freeSpace < kLeastLogSpace) {
    finding.code = "log-space-low";
    finding.what = where + L" has " + WithUnit(folder.freeSpace) + L" of space left.";
    finding.reason = L"Lines of the debug log are lost once it is full.";
    finding.remedy = L"Make room on its volume.";
  } else {
    finding.verdict = Verdict::ok;
    finding.code = "log-folder-usable";
    finding.what = where + L" can be written. Files: " + std::to_wstring(folder.files) + L", " +
                   WithUnit(folder.size) + L" in all; free: " + WithUnit(folder.freeSpace) + L".";
  }
  return finding;
}

}  // namespace

LogFolder LookAtLogFolder(const std::wstring& value, const std::wstring& path) {
  LogFolder folder = {.value = value};
  const bool isItself = IsFolder(Path(path).System());
  const Path place(isItself ? path : path.substr(0, path.find_last_of(L"\\/") + 1));
  folder.folder = place.Shown();
  if (!IsFolder(place.System())) {
    folder.error = place.Error() != 0 ? place.Error() : ERROR_PATH_NOT_FOUND;
    return folder;
  }
  if (!vtclass::IsVolumeWriteable(place.System().c_str())) {
    folder.writeError = ::GetLastError();
    // Somebody else, an agent perhaps, is testing right now: that tells nothing.
    if (folder.writeError == ERROR_SHARING_VIOLATION) folder.writeError = 0;
  }
  Count(folder, place);
  const wcstring root = (place / L"").System();
  folder.freeSpace = ULARGE_INTEGER(vtclass::get<vtclass::free_space_to_usr>(root)).QuadPart;
  return folder;
}

Findings JudgeLogs(const LogsState& state) {
  Findings findings = {JudgeSwitch(state)};
  for (const LogFolder& folder : state.folders) {
    findings.push_back(JudgeFolder(folder, state.isOn));
  }
  if (state.folders.empty()) {
    findings.push_back(
        {.code = "no-log-folder", .what = L"No component has stored where its debug log lies."});
  }
  return findings;
}

Findings CheckLogs() {
  const std::vector<StoredValue> values = ReadProductValues();
  LogsState state;
  state.isOn = NumberIn(values, kCreateDebugLog) != 0;
  vtclass::log::LimitsFrom(SizeSettingsIn(values), &state.limits);
  state.folders = AskFolders(values);
  return JudgeLogs(state);
}

}  // namespace vtctl::doctor
