#include "tools/vtctl/shared/credential_report.h"

#include <algorithm>
#include <utility>

#include "config/product_keys.h"
#include "platform/owned.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/key_path.h"

namespace vtctl {
namespace {

using vtclass::platform::OwnedRegistryKey;

constexpr std::wstring_view kSecretWords[] = {L"password", L"passphrase", L"credential", L"secret"};
constexpr std::wstring_view kUserWords[] = {L"user", L"account", L"login", L"logon"};

std::wstring Lower(std::wstring text) {
  ::CharLowerBuffW(text.data(), static_cast<DWORD>(text.size()));
  return text;
}

// Where the first of these words begins in a value's name.
template <std::size_t kCount>
std::size_t PlaceOf(const std::wstring_view (&words)[kCount], const std::wstring& name) {
  const std::wstring lower = Lower(name);
  std::size_t place = std::wstring::npos;
  for (const std::wstring_view word : words) place = std::min(place, lower.find(word));
  return place;
}

bool NamesASecret(const std::wstring& name) {
  return PlaceOf(kSecretWords, name) != std::wstring::npos;
}

bool NamesAUser(const std::wstring& name) {
  return !NamesASecret(name) && PlaceOf(kUserWords, name) != std::wstring::npos;
}

bool IsNumber(const Value& value) {
  return value.type == REG_DWORD || value.type == REG_DWORD_BIG_ENDIAN || value.type == REG_QWORD;
}

// A user's name may be sealed as well.
std::wstring UserIn(const Value& value) {
  const std::wstring text = TextOf(value);
  Secret opened;
  const OpenedSeal seal = OpenSeal(ToUtf8(text), opened);
  const bool isSealed = seal.form == SealForm::ordinary || seal.form == SealForm::machineBound;
  return isSealed && seal.isUtf8 ? FromUtf8(opened.text) : text;
}

// "Catalog Password" is of "Catalog User Name"; where no name begins alike, of the only user there.
std::optional<std::wstring> UserOf(const std::wstring& secret,
                                   const std::map<std::wstring, Value>& values) {
  const std::wstring beginning = Lower(secret.substr(0, PlaceOf(kSecretWords, secret)));
  std::vector<const Value*> users;
  for (const auto& [name, value] : values) {
    if (!NamesAUser(name) || !IsText(value.type)) continue;
    if (Lower(name.substr(0, PlaceOf(kUserWords, name))) == beginning) return UserIn(value);
    // "Account Password" is of "Account".
    if (beginning.starts_with(Lower(name))) return UserIn(value);
    users.push_back(&value);
  }
  return users.size() == 1 ? std::optional(UserIn(*users.front())) : std::nullopt;
}

void ReadTree(const KeyPath& path, CredentialReport& report) {
  OwnedRegistryKey key;
  const LSTATUS status =
      ::RegOpenKeyExW(path.root, path.subkey.c_str(), 0, KEY_READ, key.Receive());
  if (status == ERROR_FILE_NOT_FOUND) return;
  if (status != ERROR_SUCCESS) {
    report.unread.push_back({KeyName(path), static_cast<unsigned long>(status)});
    return;
  }
  const KeyContents contents = ReadKey(key.Get(), L"");
  if (contents.unreadable != 0) report.unread.push_back({KeyName(path)});
  std::vector<StoredCredential> credentials = CredentialsAmong(contents.values);
  if (!credentials.empty()) {
    report.keys.push_back(
        {KeyName(path), AccessTo(key.Get(), KEY_QUERY_VALUE), std::move(credentials)});
  }
  for (const std::wstring& name : contents.subkeys) {
    ReadTree({path.root, path.subkey + L"\\" + name}, report);
  }
}

}  // namespace

std::vector<StoredCredential> CredentialsAmong(const std::map<std::wstring, Value>& values) {
  std::vector<StoredCredential> credentials;
  for (const auto& [name, value] : values) {
    const bool isNamed = NamesASecret(name) && !IsNumber(value);
    if (!isNamed && !IsText(value.type)) continue;
    StoredCredential credential = {name, IsText(value.type), {}, {}};
    Secret secret;
    if (credential.isText) credential.seal = OpenSeal(ToUtf8(TextOf(value)), secret);
    const SealForm form = credential.seal.form;
    const bool isSeal =
        form == SealForm::machineBound || (form == SealForm::ordinary && credential.seal.isUtf8);
    if (!isNamed && !isSeal) continue;
    if (isNamed) credential.user = UserOf(name, values);
    if (credential.user == L"") credential.user.reset();
    credentials.push_back(std::move(credential));
  }
  return credentials;
}

CredentialReport ReadCredentials() {
  CredentialReport report;
  for (const auto* const key :
       {&vtclass::config::kProductRoot, &vtclass::config::kProductDatabaseKey,
        &vtclass::config::kVTDatabaseKey}) {
    const KeyPath path = {HKEY_LOCAL_MACHINE, key->Path()};
    report.searched.push_back(KeyName(path));
    ReadTree(path, report);
  }
  return report;
}

ExitCode Severity(const CredentialKey& key, const StoredCredential& credential) {
  if (credential.isText && credential.seal.form == SealForm::nothing) return kExitClean;
  if (!credential.seal.opens || !credential.isText) return kExitErrors;
  return key.readers.isEveryUser || key.readers.error != 0 ? kExitWarnings : kExitClean;
}

ExitCode Severity(const CredentialReport& report) {
  ExitCode worst = report.unread.empty() ? kExitClean : kExitWarnings;
  for (const CredentialKey& key : report.keys) {
    for (const StoredCredential& credential : key.credentials) {
      worst = std::max(worst, Severity(key, credential));
    }
  }
  return worst;
}

}  // namespace vtctl
