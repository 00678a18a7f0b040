#include "tools/vtctl/credential/report_text.h"

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

// What a form means, in the order of SealForm.
struct FormText {
  const wchar_t* seal;
  const wchar_t* opener;   // who could open it that reads the value
  const char* openableBy;  // for scripts; null: there is nothing to open
};
constexpr FormText kForms[] = {
    {L"nothing is stored", L"", nullptr},
    {L"none: plain text, or a damaged seal", L"who reads it: nothing need be opened", "plain"},
    {L"ordinary", L"who reads it, on any machine", "anybody"},
    {L"bound to this machine", L"who reads it, on this machine only", "anybody-on-this-machine"},
    {L"of a later version of the product", L"not known", nullptr}};

const FormText& FormOf(const StoredCredential& credential) {
  return kForms[static_cast<int>(credential.seal.form)];
}

std::wstring SealText(const StoredCredential& credential) {
  const OpenedSeal& seal = credential.seal;
  if (!credential.isText) return L"none: the value is no text";
  std::wstring text = FormOf(credential).seal;
  if (seal.form == SealForm::ordinary) {
    return text +
           (seal.opens ? L", opens" : L", opens to no text: damaged, or made by another key");
  }
  if (seal.form == SealForm::machineBound) {
    return text + (seal.opens ? L", opens"
                              : L", does not open: damaged, or made on another machine: " +
                                    SystemText(seal.status));
  }
  return text;
}

std::wstring ReadersText(const KeyAccess& readers) {
  if (readers.error != 0) return L"cannot be told: " + SystemText(readers.error);
  if (readers.isEveryUser) return L"every user of this machine";
  if (readers.names.empty()) return L"nobody";
  std::wstring text;
  for (const std::wstring& name : readers.names) {
    text += (text.empty() ? L"" : L", ") + Printable(name);
  }
  return text;
}

const wchar_t* Mark(ExitCode severity) {
  if (severity == kExitClean) return L"";
  return severity == kExitErrors ? L"  (error)" : L"  (warning)";
}

std::wstring CredentialText(const CredentialKey& key, const StoredCredential& credential) {
  std::wstring text = L"  " + ShownName(credential.name) + Mark(Severity(key, credential)) + L"\n";
  const auto add = [&text](const wchar_t* label, const std::wstring& words) {
    if (!words.empty()) text += L"    " + std::wstring(label) + words + L"\n";
  };
  add(L"Seal:      ", SealText(credential));
  if (credential.user) add(L"User:      ", Printable(*credential.user));
  add(L"Open to:   ", FormOf(credential).opener);
  return text;
}

std::wstring Summary(const CredentialReport& report) {
  std::size_t count = 0;
  std::size_t errors = 0;
  std::size_t warnings = 0;
  for (const CredentialKey& key : report.keys) {
    for (const StoredCredential& credential : key.credentials) {
      ++count;
      errors += Severity(key, credential) == kExitErrors ? 1 : 0;
      warnings += Severity(key, credential) == kExitWarnings ? 1 : 0;
    }
  }
  std::wstring text = Counted(count, L"stored credential");
  if (errors > 0) text += L", " + Counted(errors, L"error");
  if (warnings > 0) text += L", " + Counted(warnings, L"warning");
  text += L".\n";
  if (errors > 0)
    text += L"Errors: seal the credential (vtctl credential seal), and store it anew.\n";
  if (warnings > 0) text += L"Warnings: let only those read the key who need it.\n";
  return text;
}

Json ToJson(const CredentialKey& key, const StoredCredential& credential) {
  const OpenedSeal& seal = credential.seal;
  const KeyAccess& readers = key.readers;
  Json names = Json::array();
  for (const std::wstring& name : readers.names) names.push_back(ToUtf8(name));
  const char* const openableBy = FormOf(credential).openableBy;
  return {
      {"key", ToUtf8(key.name)},
      {"name", ToUtf8(credential.name)},
      {"scheme", credential.isText ? FormWord(seal.form) : FormWord(SealForm::none)},
      {"opens", credential.isText && seal.form == SealForm::nothing ? Json() : Json(seal.opens)},
      {"status", seal.status == 0 ? Json() : Json(seal.status)},
      {"user", credential.user ? Json(ToUtf8(*credential.user)) : Json()},
      {"openableBy", openableBy ? Json(openableBy) : Json()},
      {"readableByEveryUser", readers.error == 0 ? Json(readers.isEveryUser) : Json()},
      {"readers", names}};
}

std::wstring UnreadText(const UnreadKey& key) {
  return Printable(key.name) +
         (key.error == 0 ? L" was not read to its end: it may have changed"
                         : L" was not read: " + SystemText(key.error)) +
         L"\n";
}

}  // namespace

std::wstring Text(const CredentialReport& report) {
  std::wstring text;
  for (const CredentialKey& key : report.keys) {
    text += Printable(key.name) + L"\n  Read by: " + ReadersText(key.readers) + L"\n";
    for (const StoredCredential& credential : key.credentials) {
      text += CredentialText(key, credential);
    }
    text += L"\n";
  }
  for (const UnreadKey& key : report.unread) text += UnreadText(key);
  text += L"Searched, with all below:\n";
  for (const std::wstring& name : report.searched) text += L"  " + name + L"\n";
  return text + Summary(report);
}

Json ToJson(const CredentialReport& report) {
  Json json = {
      {"searched", Json::array()}, {"credentials", Json::array()}, {"unreadKeys", Json::array()}};
  for (const std::wstring& name : report.searched) json["searched"].push_back(ToUtf8(name));
  for (const CredentialKey& key : report.keys) {
    for (const StoredCredential& credential : key.credentials) {
      json["credentials"].push_back(ToJson(key, credential));
    }
  }
  for (const UnreadKey& key : report.unread) {
    json["unreadKeys"].push_back(
        {{"key", ToUtf8(key.name)}, {"status", key.error == 0 ? Json() : Json(key.error)}});
  }
  return json;
}

}  // namespace vtctl
