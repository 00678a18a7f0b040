#ifndef VTCLASS_TOOLS_VTCTL_SHARED_CREDENTIAL_REPORT_H
#define VTCLASS_TOOLS_VTCTL_SHARED_CREDENTIAL_REPORT_H

#include <vtclass/win32.h>

#include <optional>
#include <string>
#include <vector>

#include "tools/vtctl/shared/exit_code.h"
#include "tools/vtctl/shared/key_access.h"
#include "tools/vtctl/shared/key_reader.h"
#include "tools/vtctl/shared/seal.h"

/* Where the product stores credentials, and how well. */
namespace vtctl {

struct StoredCredential {
  std::wstring name; /* of the value */
  bool isText = true;
  OpenedSeal seal;
  std::optional<std::wstring> user; /* whose it is, as a value beside it says */
};

/* A key with credentials. */
struct CredentialKey {
  std::wstring name;
  KeyAccess readers;
  std::vector<StoredCredential> credentials;
};

/* A key that was not read, or not to its end; 0: entries are missing. */
struct UnreadKey {
  std::wstring name;
  unsigned long error = 0;
};

struct CredentialReport {
  std::vector<std::wstring> searched; /* keys, with all that lies below */
  std::vector<CredentialKey> keys;
  std::vector<UnreadKey> unread;
};

/* The credentials among a key's values: what is named as one and holds a text or bytes, and each
 * text that is a seal, whatever its name. */
std::vector<StoredCredential> CredentialsAmong(const std::map<std::wstring, Value>& values);

/* Reads all of the selected product's keys. */
CredentialReport ReadCredentials();

/* kExitErrors: one is not sealed, or does not open. kExitWarnings: every user of the machine may
 * read one, or who may is not known, or a key was not read. */
ExitCode Severity(const CredentialKey& key, const StoredCredential& credential);
ExitCode Severity(const CredentialReport& report);

}  // namespace vtctl

#endif
