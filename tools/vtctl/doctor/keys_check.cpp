#include "tools/vtctl/doctor/keys_check.h"

#include <vtclass/win32.h>

#include <sddl.h>

#include <algorithm>
#include <memory>

#include "platform/owned.h"
#include "tools/vtctl/doctor/checks.h"
#include "tools/vtctl/doctor/product_values.h"
#include "tools/vtctl/shared/key_path.h"
#include "tools/vtctl/shared/key_reader.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl::doctor {
namespace {

using vtclass::platform::OwnedLocalMemory;

// Groups to which anybody belongs who comes by.
constexpr std::wstring_view kAnybody[] = {L"S-1-1-0",        // Everyone
                                          L"S-1-5-2",        // Network
                                          L"S-1-5-4",        // Interactive
                                          L"S-1-5-7",        // Anonymous
                                          L"S-1-5-11",       // Authenticated Users
                                          L"S-1-5-32-545",   // Users
                                          L"S-1-5-32-546"};  // Guests
constexpr std::wstring_view kDomain = L"S-1-5-21-";
constexpr std::wstring_view kAnybodyOfDomain[] = {L"-513", L"-514", L"-515"};  // with computers

// Rights by which a key's values, or its rights themselves, can be changed.
constexpr ACCESS_MASK kChange = KEY_SET_VALUE | KEY_CREATE_SUB_KEY | KEY_CREATE_LINK | DELETE |
                                WRITE_DAC | WRITE_OWNER | GENERIC_WRITE | GENERIC_ALL;

bool IsAnybody(const KeyWriter& writer) {
  const std::wstring_view sid = writer.sid;
  if (std::ranges::find(kAnybody, sid) != std::end(kAnybody)) return true;
  return sid.starts_with(kDomain) &&
         std::ranges::any_of(kAnybodyOfDomain, [&](auto end) { return sid.ends_with(end); });
}

std::wstring Joined(const std::vector<KeyWriter>& writers) {
  std::wstring names;
  for (const KeyWriter& writer : writers) names += (names.empty() ? L"" : L", ") + writer.name;
  return names;
}

KeyWriter WriterOf(PSID sid) {
  KeyWriter writer;
  wchar_t* text = nullptr;
  if (::ConvertSidToStringSidW(sid, &text)) {
    const OwnedLocalMemory memory(text);
    writer.sid = text;
  }
  constexpr DWORD kLongestName = 257;
  wchar_t name[kLongestName] = {};
  wchar_t domain[kLongestName] = {};
  DWORD nameSize = kLongestName;
  DWORD domainSize = kLongestName;
  SID_NAME_USE use = SidTypeUnknown;
  const bool isKnown =
      ::LookupAccountSidW(nullptr, sid, name, &nameSize, domain, &domainSize, &use) != FALSE;
  writer.name = isKnown ? name : writer.sid;
  return writer;
}

// Whom an entry lets change the key itself; null for every other entry. What an entry refuses is
// not looked at: an account that is refused and allowed counts as allowed.
PSID WriterIn(void* entry) {
  const auto* const header = static_cast<const ACE_HEADER*>(entry);
  auto* const allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
  if (header->AceType != ACCESS_ALLOWED_ACE_TYPE || (header->AceFlags & INHERIT_ONLY_ACE) != 0 ||
      (allowed->Mask & kChange) == 0) {
    return nullptr;
  }
  return &allowed->SidStart;
}

void CollectWriters(PACL list, KeyState& state) {
  if (!list) {
    // Without a list everybody may do everything.
    state.writers.push_back({L"S-1-1-0", L"everybody (it has no access list)"});
    return;
  }
  void* entry = nullptr;
  for (DWORD i = 0; i < list->AceCount && ::GetAce(list, i, &entry); ++i) {
    const PSID sid = WriterIn(entry);
    if (!sid) continue;
    KeyWriter writer = WriterOf(sid);
    if (std::ranges::find(state.writers, writer.sid, &KeyWriter::sid) == state.writers.end()) {
      state.writers.push_back(std::move(writer));
    }
  }
}

void AskWriters(HKEY key, KeyState& state) {
  DWORD size = 0;
  LSTATUS status = ::RegGetKeySecurity(key, DACL_SECURITY_INFORMATION, nullptr, &size);
  std::vector<unsigned char> descriptor(size);
  if (status == ERROR_INSUFFICIENT_BUFFER) {
    status = ::RegGetKeySecurity(key, DACL_SECURITY_INFORMATION, descriptor.data(), &size);
  }
  BOOL isThere = FALSE;
  BOOL isDefault = FALSE;
  PACL list = nullptr;
  if (status == ERROR_SUCCESS &&
      !::GetSecurityDescriptorDacl(descriptor.data(), &isThere, &list, &isDefault)) {
    status = static_cast<LSTATUS>(::GetLastError());
  }
  state.listError = static_cast<unsigned long>(status);
  if (status == ERROR_SUCCESS) CollectWriters(isThere ? list : nullptr, state);
}

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
  AskWriters(reader.Get(), state);
  return state;
}

}  // namespace

Finding JudgeKey(const KeyState& state) {
  const std::wstring name = ShownKey(state.path);
  Finding finding = {.path = KeyName({HKEY_LOCAL_MACHINE, state.path})};
  std::vector<KeyWriter> anybody;
  std::ranges::copy_if(state.writers, std::back_inserter(anybody), IsAnybody);
  if (state.readError == ERROR_FILE_NOT_FOUND) {
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
    finding.remedy = L"Run this as the agents' account; if that is this one, let it read the key.";
  } else if (!anybody.empty()) {
    finding.code = "key-open-to-all";
    finding.verdict = Verdict::problem;
    finding.what = name + L" may be changed by " + Joined(anybody) + L".";
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
  } else if (state.listError != ERROR_SUCCESS) {
    finding.code = "key-rights-unknown";
    finding.verdict = Verdict::note;
    finding.status = state.listError;
    finding.what = name + L" can be read and written; who else may write it cannot be told: " +
                   SystemText(state.listError);
    finding.reason = L"This account may not read its access list.";
  } else {
    finding.code = "key-usable";
    finding.what = name + L" can be read and written. Writers: " + Joined(state.writers) + L".";
  }
  return finding;
}

Findings CheckKeys() {
  Findings findings;
  for (const vtclass::config::ProductKey* const key : ProductKeys()) {
    const KeyState state = AskKey(*key);
    findings.push_back(JudgeKey(state));
    // Below a root that is missing there is nothing.
    if (state.isRoot && state.readError == ERROR_FILE_NOT_FOUND) break;
  }
  return findings;
}

}  // namespace vtctl::doctor
