#include "tools/vtctl/doctor/libraries_check.h"

#include <vtclass/win32.h>

#include <algorithm>

#include "log/messages/message_language.h"
#include "platform/owned.h"
#include "platform/same_name.h"
#include "tools/vtctl/doctor/checks.h"
#include "tools/vtctl/doctor/product_values.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/log.h"

namespace vtctl::doctor {
namespace {

using vtclass::platform::OwnedFileSearch;

constexpr const wchar_t* kLibrary = L"vtclass_mini.dll";
constexpr const wchar_t* kCompanions[] = {L"vtsocket.dll", L"vtcluster.dll", L"vtstdutl.dll"};
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

// Not by its name alone: the system would look for it elsewhere too.
unsigned long ErrorOfLoading(const std::wstring& path) {
  const vtclass::platform::OwnedModule library(::LoadLibraryExW(
      path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32));
  return library ? ERROR_SUCCESS : ::GetLastError();
}

LibraryState Look(const std::wstring& folder, const std::wstring& name, LibraryState::Part part) {
  LibraryState library = {name, folder + name, part, 0, L""};
  if (::GetFileAttributesW(library.path.c_str()) == INVALID_FILE_ATTRIBUTES) {
    library.error = ::GetLastError();
    return library;
  }
  library.error = part == LibraryState::companion
                      ? ErrorOfLoading(library.path)
                      : StringResourceMgr(library.path.c_str()).GetErrorCode();
  library.version = FileVersion(library.path);
  return library;
}

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
  const bool isMissing =
      library.error == ERROR_FILE_NOT_FOUND || library.error == ERROR_PATH_NOT_FOUND;
  const std::wstring again = L"Install the product's files anew, all of one release.";
  if (library.error != 0) {
    finding.verdict = library.part == LibraryState::companion ? Verdict::problem : Verdict::warning;
    finding.code = isMissing ? "library-missing" : "library-not-loadable";
    finding.status = library.error;
    finding.what = isMissing ? library.name + L" is missing."
                             : library.name + L" cannot be loaded: " + SystemText(library.error);
    finding.reason = Lack(library);
    finding.remedy = again;
  } else if (library.version != version) {
    finding.verdict = Verdict::warning;
    finding.code = "library-of-other-version";
    finding.what =
        library.name +
        (library.version.empty() ? L" tells no version" : L" has the version " + library.version) +
        L"; " + kLibrary + L" has " + version + L".";
    finding.reason = L"Files of different releases need not fit together.";
    finding.remedy = again;
  } else {
    finding.code = "library-usable";
    finding.what = library.name + L" can be loaded, version " + version + L".";
  }
  return finding;
}

Findings CheckLibraries() {
  const std::wstring file = LibraryFile();
  const std::wstring folder = file.substr(0, file.rfind(L'\\') + 1);
  const std::wstring language = TextIn(ReadProductValues(), vtclass::config::kLanguage);
  const std::wstring version = FileVersion(file);
  Findings findings = {
      {.code = "library-version",
       .what = std::wstring(kLibrary) + L", version " + version + L", lies in " + folder + L".",
       .path = file}};
  for (const LibraryState& library :
       LibrariesIn(folder, vtclass::log::IsLanguageCode(language) ? language : L"")) {
    findings.push_back(JudgeLibrary(library, version));
  }
  return findings;
}

}  // namespace vtctl::doctor
