#include "tools/vtctl/session/messages.h"

namespace vtctl {
namespace {

struct Language {
  const char* code;
  WORD id;
};

/* The product's language codes; the message libraries carry them in their names. */
const Language kLanguages[] = {{"EN", 1033}, {"FR", 1036}, {"ES", 1034}, {"JP", 1041},
                               {"DE", 1031}, {"IT", 1040}, {"ZH", 2052}, {"CH", 1028},
                               {"KO", 1042}, {"RU", 1049}, {"PT", 1046}};

/* The folder of the program, with the backslash. */
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
    if (std::wstring(language.code, language.code + 2) == code) {
      ::SetThreadLocale(MAKELCID(language.id, SORT_DEFAULT));
    }
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
  for (const Language& language : kLanguages) codes.emplace_back(language.code);
  return codes;
}

}  // namespace vtctl
