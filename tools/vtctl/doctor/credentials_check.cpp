#include "tools/vtctl/doctor/credentials_check.h"

#include "tools/vtctl/doctor/checks.h"
#include "tools/vtctl/doctor/product_values.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl::doctor {
namespace {

constexpr const wchar_t* kEnterAnew = L"Enter the credential anew where it is configured.";

Finding JudgeSeal(const StoredCredential& credential, const std::wstring& name) {
  Finding finding = {.verdict = Verdict::problem, .remedy = kEnterAnew};
  const SealForm form = credential.seal.form;
  if (!credential.isText || form == SealForm::none) {
    finding.code = "credential-not-sealed";
    finding.what = name + L" is stored unsealed, or its seal is damaged.";
    finding.reason = L"Whoever sees the value reads the secret, and agents cannot open it.";
  } else if (!credential.seal.opens) {
    finding.code = "credential-does-not-open";
    finding.status = credential.seal.status;
    finding.what = name + L" is sealed, and does not open.";
    finding.reason = form == SealForm::machineBound
                         ? L"It is damaged, or another machine has made it: a copied registry, or "
                           L"a system that was installed anew."
                         : L"It is damaged, or of a later release of the product.";
  } else if (form == SealForm::ordinary) {
    finding.verdict = Verdict::note;
    finding.code = "credential-ordinary";
    finding.what = name + L" is sealed and opens.";
    finding.reason = L"The seal is the ordinary one: whoever has the value opens it anywhere.";
    finding.remedy = L"vtctl credential seal --machine makes one that opens here alone.";
  } else {
    finding.verdict = Verdict::ok;
    finding.code = "credential-machine-bound";
    finding.what = name + L" is bound to this machine and opens.";
    finding.remedy = L"";
  }
  return finding;
}

Finding JudgeReaders(const KeyAccess& readers, const std::wstring& key) {
  if (readers.error != 0) {
    return {.verdict = Verdict::warning,
            .code = "credential-readers-unknown",
            .what = L"Who may read the credentials of " + ShownKey(key) + L" cannot be told: " +
                    SystemText(readers.error),
            .reason = L"This account may not read the key's access list.",
            .remedy = kLetRead,
            .path = key,
            .status = readers.error};
  }
  return {.verdict = Verdict::warning,
          .code = "credential-open-to-all",
          .what = L"Every user of this machine may read the credentials of " + ShownKey(key) + L".",
          .reason =
              L"The seal protects against a look, and not against somebody who has a copy of "
              L"the product.",
          .remedy =
              L"Leave the right to read the key to administrators, the agents' account and "
              L"the system.",
          .path = key};
}

}  // namespace

Findings JudgeCredentials(const CredentialReport& report) {
  Findings findings;
  for (const CredentialKey& key : report.keys) {
    bool isAnyStored = false;
    for (const StoredCredential& credential : key.credentials) {
      if (credential.isText && credential.seal.form == SealForm::nothing) continue;
      isAnyStored = true;
      findings.push_back(
          JudgeSeal(credential, L"\"" + credential.name + L"\" of " + ShownKey(key.name)));
      findings.back().path = key.name;
    }
    const bool isGuarded = key.readers.error == 0 && !key.readers.isEveryUser;
    if (isAnyStored && !isGuarded) findings.push_back(JudgeReaders(key.readers, key.name));
  }
  for (const UnreadKey& key : report.unread) {
    findings.push_back({.verdict = Verdict::warning,
                        .code = "credential-key-unread",
                        .what = ShownKey(key.name) + L" could not be read, or not to its end" +
                                (key.error == 0 ? L"." : L": " + SystemText(key.error)),
                        .reason = L"What credentials it holds is not known.",
                        .remedy = kLetRead,
                        .path = key.name,
                        .status = key.error});
  }
  if (!findings.empty()) return findings;
  return {{.code = "no-credential", .what = L"None is stored in the product's keys."}};
}

void CheckCredentials(Found& found) { found.Add(JudgeCredentials(ReadCredentials())); }

}  // namespace vtctl::doctor
