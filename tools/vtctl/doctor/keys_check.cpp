#include "tools/vtctl/doctor/keys_check.h"

#include <vtclass/win32.h>

#include <string>
#include <vector>

#include "platform/owned.h"
#include "tools/vtctl/doctor/checks.h"
#include "tools/vtctl/doctor/product_values.h"
#include "tools/vtctl/shared/joined.h"
#include "tools/vtctl/shared/key_path.h"
#include "tools/vtctl/shared/key_reader.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl::doctor {
namespace {

KeyState AskKey(const vtclass::config::ProductKey& key) {
  KeyState state;
  state.path = key.Path();
  state.isRoot = &key == &vtclass::config::kProductRoot;
  KeyHandle reader;
  state.readError =
      static_cast<unsigned long>(reader.Open({{HKEY_LOCAL_MACHINE, state.path}, L"", 0}));
  if (state.readError != ERROR_SUCCESS) return state;
  vtclass::platform::OwnedRegistryKey writer;
  state.writeError = static_cast<unsigned long>(
      ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, state.path.c_str(), 0, KEY_WRITE, writer.Receive()));
  state.writers = AccessTo(reader.Get(), kChangeRights);
  return state;
}

}  // namespace

Finding JudgeKey(const KeyState& state) {
  const std::wstring name = ShownKey(state.path);
  Finding finding = {.path = KeyName({HKEY_LOCAL_MACHINE, state.path})};
  if (IsMissing(state.readError)) {
    finding.code = "key-missing";
    finding.verdict = state.isRoot ? Verdict::warning : Verdict::note;
    finding.what = name + L" does not exist.";
    finding.reason = state.isRoot ? L"The product is not installed here, or --product names the "
                                    L"other one. Components go by their defaults."
                                  : L"Nothing is stored in it, so its defaults count.";
    finding.remedy = state.isRoot ? L"Install the product, or ask with the other --product." : L"";
  } else if (state.readError != ERROR_SUCCESS) {
    finding.code = "key-unreadable";
    finding.verdict = Verdict::problem;
    finding.status = state.readError;
    finding.what = name + L" cannot be read: " + SystemText(state.readError);
    finding.reason = L"A component with this account goes by its defaults, whatever is stored.";
    finding.remedy = kLetRead;
  } else if (state.writers.isEveryUser) {
    finding.code = "key-open-to-all";
    finding.verdict = Verdict::problem;
    finding.what = name + L" may be changed by every user of this machine.";
    finding.reason = L"Whoever may log on here decides what agents do, with the agents' rights.";
    finding.remedy =
        L"Leave the right to change it to administrators, backup operators and the "
        L"system.";
  } else if (state.writeError != ERROR_SUCCESS) {
    finding.code = "key-not-writable";
    finding.verdict = Verdict::warning;
    finding.status = state.writeError;
    finding.what = name + L" can be read, but not written: " + SystemText(state.writeError);
    finding.reason =
        L"A component with this account stores no defaults there, and follows no live "
        L"setting: it reads them with the right to write.";
    finding.remedy = L"Run this as the agents' account; if that is this one, let it write the key.";
  } else if (state.writers.error != ERROR_SUCCESS) {
    finding.code = "key-rights-unknown";
    finding.verdict = Verdict::note;
    finding.status = state.writers.error;
    finding.what = name + L" can be read and written; who else may write it cannot be told: " +
                   SystemText(state.writers.error);
    finding.reason = L"This account may not read its access list.";
  } else {
    finding.code = "key-usable";
    finding.what =
        name + L" can be read and written. Writers: " + Joined(state.writers.names) + L".";
  }
  return finding;
}

void CheckKeys(Found& found) {
  for (const vtclass::config::ProductKey* const key : ProductKeys()) {
    const KeyState state = AskKey(*key);
    found.Add(JudgeKey(state));
    // Below a root that is missing there is nothing.
    if (state.isRoot && IsMissing(state.readError)) break;
  }
}

}  // namespace vtctl::doctor
