#include "tools/vtctl/doctor/libraries_check.h"

#include <vtclass/win32.h>

#include <algorithm>
#include <cstddef>

#include "log/messages/message_language.h"
#include "messages/message_ids.h"
#include "platform/owned.h"
#include "platform/same_name.h"
#include "tools/vtctl/doctor/checks.h"
#include "tools/vtctl/doctor/product_values.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/log.h"

namespace vtctl::doctor {
namespace {

using vtclass::platform::OwnedFileSearch;

constexpr const wchar_t* kLibrary = L"vtclass_mini.dll";
constexpr const wchar_t* kCompanions[] = {L"vtsocket.dll", L"vtcluster.dll", L"vtstdutl.dll"};
constexpr const wchar_t* kNetLibraries[] = {L"vtsocket.dll", L"vtcluster.dll"};
constexpr const wchar_t* kMessages = L"vterrors.dll";

// What happens without it.
std::wstring Lack(const LibraryState& library) {
  switch (library.part) {
    case LibraryState::companion:
      return L"Without it questions for names, addresses or clusters have no answer.";
    case LibraryState::messages:
      return L"Where the chosen language is missing too, job logs have no texts.";
    case LibraryState::chosenLanguage:
      return L"The product's value \"Language\" chooses it; messages come in the language of "
             L"vterrors.dll.";
    default:
      return L"Whoever chooses this language gets that of vterrors.dll.";
  }
}

// Whether the companion has all that vtclass_mini.dll calls in the one of that name.
bool HasWhatIsCalled(HMODULE companion, const std::wstring& name) {
  auto* const base = reinterpret_cast<BYTE*>(::GetModuleHandleW(kLibrary));
  const auto at = [&](ULONGLONG place) { return reinterpret_cast<const char*>(base + place); };
  const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(
      base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
  const DWORD table =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT].VirtualAddress;
  const auto* library = reinterpret_cast<const IMAGE_DELAYLOAD_DESCRIPTOR*>(at(table));
  for (; table != 0 && library->DllNameRVA != 0; ++library) {
    if (!vtclass::platform::IsSameName(FromUtf8(at(library->DllNameRVA)), name)) continue;
    const auto* entry = reinterpret_cast<const IMAGE_THUNK_DATA*>(at(library->ImportNameTableRVA));
    for (; entry->u1.AddressOfData != 0; ++entry) {
      // By its number or by its name.
      const char* const function =
          IMAGE_SNAP_BY_ORDINAL(entry->u1.Ordinal)
              ? MAKEINTRESOURCEA(IMAGE_ORDINAL(entry->u1.Ordinal))
              : at(entry->u1.AddressOfData + offsetof(IMAGE_IMPORT_BY_NAME, Name));
      if (!::GetProcAddress(companion, function)) return false;
    }
  }
  return true;
}

// Not by its name alone: the system would look for it elsewhere too.
void LookAtCompanion(LibraryState& library) {
  const vtclass::platform::OwnedModule loaded(
      ::LoadLibraryExW(library.path.c_str(), nullptr,
                       LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32));
  library.error = loaded ? ERROR_SUCCESS : ::GetLastError();
  library.isStranger = loaded && !HasWhatIsCalled(loaded.Get(), library.name);
}

void LookAtMessages(LibraryState& library) {
  const StringResourceMgr messages(library.path.c_str());
  library.error = messages.GetErrorCode();
  library.isStranger = library.error == 0 && messages.Get(MSG_JOB_NAME).empty();
}

LibraryState Look(const std::wstring& folder, const std::wstring& name, LibraryState::Part part) {
  LibraryState library = {name, folder + name, part, 0, L"", false};
  if (::GetFileAttributesW(library.path.c_str()) == INVALID_FILE_ATTRIBUTES) {
    library.error = ::GetLastError();
    return library;
  }
  part == LibraryState::companion ? LookAtCompanion(library) : LookAtMessages(library);
  library.version = FileVersion(library.path);
  return library;
}

std::wstring LibraryFolder() {
  const std::wstring file = LibraryFile();
  return file.substr(0, file.rfind(L'\\') + 1);
}

// Why it cannot be used; empty when it can.
std::wstring Fault(const LibraryState& library) {
  if (IsMissing(library.error)) return library.name + L" is missing.";
  if (library.error != 0) return library.name + L" cannot be loaded: " + SystemText(library.error);
  if (!library.isStranger) return {};
  return library.name +
         (library.part == LibraryState::companion
              ? L" is another library: it lacks functions that vtclass_mini.dll calls."
              : L" is another library: it has no message texts.");
}

constexpr const wchar_t* kInstallAnew = L"Install the product's files anew, all of one release.";

std::vector<std::wstring> FilesLike(const std::wstring& pattern) {
  std::vector<std::wstring> names;
  WIN32_FIND_DATAW entry = {};
  const OwnedFileSearch search(::FindFirstFileW(pattern.c_str(), &entry));
  if (!search) return names;
  do names.emplace_back(entry.cFileName);
  while (::FindNextFileW(search.Get(), &entry));
  std::ranges::sort(names);
  return names;
}

}  // namespace

std::wstring LibraryFile() {
  std::wstring path(32768, L'\0');  // more than any path has
  path.resize(::GetModuleFileNameW(::GetModuleHandleW(kLibrary), path.data(),
                                   static_cast<DWORD>(path.size())));
  return path;
}

std::wstring FileVersion(const std::wstring& path) {
  std::vector<unsigned char> block(::GetFileVersionInfoSizeW(path.c_str(), nullptr));
  void* at = nullptr;
  UINT size = 0;
  if (block.empty() ||
      !::GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data()) ||
      !::VerQueryValueW(block.data(), L"\\", &at, &size) || size < sizeof(VS_FIXEDFILEINFO)) {
    return {};
  }
  const auto& info = *static_cast<const VS_FIXEDFILEINFO*>(at);
  return std::to_wstring(HIWORD(info.dwFileVersionMS)) + L"." +
         std::to_wstring(LOWORD(info.dwFileVersionMS)) + L"." +
         std::to_wstring(HIWORD(info.dwFileVersionLS)) + L"." +
         std::to_wstring(LOWORD(info.dwFileVersionLS));
}

std::vector<LibraryState> LibrariesIn(const std::wstring& folder, const std::wstring& language) {
  std::vector<LibraryState> libraries;
  for (const wchar_t* const name : kCompanions) {
    libraries.push_back(Look(folder, name, LibraryState::companion));
  }
  libraries.push_back(Look(folder, kMessages, LibraryState::messages));
  const std::wstring chosen = language.empty() ? L"" : L"vterrors_" + language + L".dll";
  if (!chosen.empty()) libraries.push_back(Look(folder, chosen, LibraryState::chosenLanguage));
  for (const std::wstring& name : FilesLike(folder + L"vterrors_*.dll")) {
    if (vtclass::platform::IsSameName(name, chosen)) continue;
    libraries.push_back(Look(folder, name, LibraryState::otherLanguage));
  }
  return libraries;
}

Finding JudgeLibrary(const LibraryState& library, const std::wstring& version) {
  Finding finding = {.path = library.path};
  const std::wstring fault = Fault(library);
  if (!fault.empty()) {
    finding.verdict = library.part == LibraryState::companion ? Verdict::problem : Verdict::warning;
    finding.code = IsMissing(library.error) ? "library-missing" : "library-not-loadable";
    if (library.isStranger) finding.code = "library-of-other-kind";
    finding.status = library.error;
    finding.what = fault;
    finding.reason = Lack(library);
    finding.remedy = kInstallAnew;
  } else if (library.version.empty() || library.version != version) {
    finding.verdict = Verdict::warning;
    finding.code = "library-of-other-version";
    finding.what =
        library.name +
        (library.version.empty() ? L" tells no version" : L" has the version " + library.version) +
        L"; " + kLibrary + L" has " + version + L".";
    finding.reason = L"Files of different releases need not fit together.";
    finding.remedy = kInstallAnew;
  } else {
    finding.code = "library-usable";
    finding.what = library.name + L" can be loaded, version " + version + L".";
  }
  return finding;
}

Findings WithoutNetLibraries() {
  Findings findings;
  for (const wchar_t* const name : kNetLibraries) {
    const LibraryState library = Look(LibraryFolder(), name, LibraryState::companion);
    const std::wstring fault = Fault(library);
    if (fault.empty()) continue;
    findings.push_back({.verdict = Verdict::problem,
                        .code = "companion-unusable",
                        .what = L"This cannot be looked at: " + fault + L" It belongs into " +
                                LibraryFolder() + L".",
                        .reason = Lack(library),
                        .remedy = kInstallAnew,
                        .path = library.path,
                        .status = library.error});
  }
  return findings;
}

void CheckLibraries(Found& found) {
  const std::wstring file = LibraryFile();
  const std::wstring folder = LibraryFolder();
  const std::vector<StoredValue> values = ReadProductValues();
  const std::wstring language = TextIn(values, vtclass::config::kLanguage);
  const std::wstring version = FileVersion(file);
  found.Add(
      {.code = "library-version",
       .what = std::wstring(kLibrary) + L", version " + version + L", lies in " + folder + L".",
       .path = file});
  const unsigned long error = ValueAmong(values, vtclass::config::kLanguage).error;
  if (error != 0) {
    found.Add({.verdict = Verdict::warning,
               .code = "language-unknown",
               .what = L"Which language is chosen cannot be told: " + SystemText(error),
               .reason = L"Whether its message texts are there is not known.",
               .remedy = kLetRead,
               .status = error});
  }
  for (const LibraryState& library :
       LibrariesIn(folder, vtclass::log::IsLanguageCode(language) ? language : L"")) {
    found.Add(JudgeLibrary(library, version));
  }
}

}  // namespace vtctl::doctor
