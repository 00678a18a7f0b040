#include "tools/vtctl/session/messages.h"

#include "log/messages/message_language.h"
#include "tools/vtctl/shared/console.h"

namespace vtctl {
namespace {

using vtclass::log::kLanguages;
using vtclass::log::Language;

// The folder of the program, with the backslash.
std::wstring ProgramFolder() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) {
      path.resize(length);
      return path.substr(0, path.rfind(L'\\') + 1);
    }
    path.resize(path.size() * 2);
  }
}

void UseLanguage(const std::wstring& code) {
  for (const Language& language : kLanguages) {
    if (language.code == code) ::SetThreadLocale(MAKELCID(language.locale, SORT_DEFAULT));
  }
}

std::wstring LocaleText(LCTYPE what, const wchar_t* otherwise) {
  wchar_t text[8] = {};
  return ::GetLocaleInfoW(::GetThreadLocale(), what, text, ARRAYSIZE(text)) > 0 ? text : otherwise;
}

}  // namespace

bool Messages::Load(const std::wstring& language) {
  ErrorMessageBase::set_ModuleInstance(::GetModuleHandleW(nullptr));
  if (language.empty()) {
    if (!ErrorMessageBase::BaseInit()) return false;
    source = ErrorMessageBase::GetMessages();
  } else {
    UseLanguage(language);
    const std::wstring stem = ProgramFolder() + L"vterrors";
    source = StringResourceMgr((stem + L"_" + language + L".dll").c_str());
    if (source.GetErrorCode() != ERROR_SUCCESS) {
      languageMissing = language != L"EN";
      UseLanguage(L"EN");
      source = StringResourceMgr((stem + L".dll").c_str());
    }
    if (source.GetErrorCode() != ERROR_SUCCESS) return false;
  }
  style = {LocaleText(LOCALE_STHOUSAND, L","), LocaleText(LOCALE_SDECIMAL, L".")};
  return true;
}

std::wstring Messages::Text(unsigned id, const std::vector<std::wstring>& arguments) const {
  return Format(source.Get(id), arguments);
}

std::vector<std::string> KnownLanguages() {
  std::vector<std::string> codes;
  for (const Language& language : kLanguages) codes.push_back(ToUtf8(language.code));
  return codes;
}

}  // namespace vtctl
