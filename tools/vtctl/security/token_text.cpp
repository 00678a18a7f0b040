#include "tools/vtctl/security/token_text.h"

#include <algorithm>
#include <iterator>

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

constexpr std::size_t kMostColumns = 44;

using Words = std::vector<const char*>;

struct AttributeWord {
  DWORD attributes;
  const char* word;
};

Words WordsOf(std::span<const AttributeWord> table, DWORD attributes) {
  Words words;
  for (const AttributeWord& row : table) {
    if ((attributes & row.attributes) == row.attributes) words.push_back(row.word);
  }
  return words;
}

// One that only denies counts against the account, whatever else is said of it.
Words GroupWords(DWORD attributes) {
  constexpr AttributeWord kWords[] = {{SE_GROUP_USE_FOR_DENY_ONLY, "deny-only"},
                                      {SE_GROUP_MANDATORY, "mandatory"},
                                      {SE_GROUP_OWNER, "owner"},
                                      {SE_GROUP_LOGON_ID, "logon-session"},
                                      {SE_GROUP_INTEGRITY, "integrity"},
                                      {SE_GROUP_RESOURCE, "resource"}};
  Words words = WordsOf(kWords, attributes);
  if (!(attributes & SE_GROUP_USE_FOR_DENY_ONLY)) {
    words.insert(words.begin(), attributes & SE_GROUP_ENABLED ? "enabled" : "disabled");
  }
  return words;
}

std::wstring Joined(const Words& words) {
  std::wstring text;
  for (const char* word : words) text += (text.empty() ? L"" : L", ") + FromUtf8(word);
  return text;
}

struct LevelName {
  DWORD from;
  const char* name;
};

const char* IntegrityWord(DWORD level) {
  // From the highest down: a level between two counts as the lower one.
  constexpr LevelName kLevels[] = {{SECURITY_MANDATORY_PROTECTED_PROCESS_RID, "protected"},
                                   {SECURITY_MANDATORY_SYSTEM_RID, "system"},
                                   {SECURITY_MANDATORY_HIGH_RID, "high"},
                                   {SECURITY_MANDATORY_MEDIUM_RID, "medium"},
                                   {SECURITY_MANDATORY_LOW_RID, "low"}};
  const auto* const found =
      std::ranges::find_if(kLevels, [&](const LevelName& row) { return level >= row.from; });
  return found == std::end(kLevels) ? "untrusted" : found->name;
}

const char* ElevationWord(const std::optional<TOKEN_ELEVATION_TYPE>& type) {
  if (!type) return nullptr;
  switch (*type) {
    case TokenElevationTypeFull:
      return "full";
    case TokenElevationTypeLimited:
      return "limited";
    default:
      return "default";
  }
}

std::wstring ElevationText(bool isElevated, const TokenFacts& facts) {
  std::wstring text = YesNo(isElevated);
  if (facts.elevation == TokenElevationTypeLimited) {
    text += L"; the account has an elevated token too: start the program as administrator";
  }
  return text;
}

std::wstring Row(const wchar_t* label, const std::wstring& text) {
  return L"  " + Fitted(label, 15) + text + L"\n";
}

// The names in one column, as wide as most of them need it.
class Column {
 public:
  void Need(const std::wstring& name) {
    columns = std::max(columns, std::min(ColumnsOf(name), kMostColumns));
  }
  std::wstring Filled(const std::wstring& name) const {
    return ColumnsOf(name) < columns ? Fitted(name, columns) : name;
  }

 private:
  std::size_t columns = 0;
};

std::wstring GroupsText(const TokenFacts& facts) {
  Column names;
  for (const TokenGroup& group : facts.groups) names.Need(Shown(group.account));
  std::wstring text = facts.groups.empty() ? L"" : L"  Groups\n";
  for (const TokenGroup& group : facts.groups) {
    text +=
        L"    " + names.Filled(Shown(group.account)) + L"  " + Joined(GroupWords(group.attributes));
    text += group.account.error == 0 ? L"  [" + group.account.sid + L"]\n" : L"\n";
  }
  return text;
}

std::wstring PrivilegesText(const TokenFacts& facts) {
  Column names;
  for (const TokenPrivilege& privilege : facts.privileges) names.Need(privilege.name);
  std::wstring text = facts.privileges.empty() ? L"" : L"  Privileges\n";
  for (const TokenPrivilege& privilege : facts.privileges) {
    text += L"    " + names.Filled(Printable(privilege.name)) + L"  " +
            PrivilegeState(privilege.attributes) + L"\n";
  }
  return text;
}

Json ToJson(const AccountName& account) {
  return {{"name", TextOrNull(account.name)},
          {"sid", ToUtf8(account.sid)},
          {"nameStatus", account.error == 0 ? Json() : Json(account.error)}};
}

Json WordOrNull(const char* word) { return word ? Json(word) : Json(); }

Json ToJson(const TokenGroup& group) {
  Json json = ToJson(group.account);
  json["attributes"] = GroupWords(group.attributes);
  return json;
}

Json ToJson(const TokenPrivilege& privilege) {
  return {{"name", ToUtf8(privilege.name)},
          {"enabled", (privilege.attributes & SE_PRIVILEGE_ENABLED) != 0},
          {"byDefault", (privilege.attributes & SE_PRIVILEGE_ENABLED_BY_DEFAULT) != 0}};
}

}  // namespace

const wchar_t* YesNo(bool is) { return is ? L"yes" : L"no"; }

const char* LevelWord(const std::optional<SECURITY_IMPERSONATION_LEVEL>& level) {
  constexpr const char* kWords[] = {"anonymous", "identification", "impersonation", "delegation"};
  return level && *level >= SecurityAnonymous && *level <= SecurityDelegation ? kWords[*level]
                                                                              : nullptr;
}

std::wstring PrivilegeState(DWORD attributes) {
  std::wstring text = attributes & SE_PRIVILEGE_ENABLED ? L"enabled" : L"disabled";
  if (attributes & SE_PRIVILEGE_ENABLED_BY_DEFAULT) text += L", enabled by default";
  return text;
}

std::wstring Text(const TokenFacts& facts) {
  if (facts.error != ERROR_SUCCESS) {
    return L"  The token cannot be opened: " + SystemText(facts.error) + L"\n";
  }
  std::wstring text;
  if (facts.account) {
    text += Row(L"Account", Shown(*facts.account));
    text += Row(L"SID", facts.account->sid);
  }
  if (const char* const level = LevelWord(facts.level)) text += Row(L"Level", FromUtf8(level));
  if (facts.logonSession) text += Row(L"Logon session", HexNumber(*facts.logonSession));
  if (facts.integrityLevel && facts.integrity) {
    text += Row(L"Integrity", FromUtf8(IntegrityWord(*facts.integrityLevel)) + L"  [" +
                                  facts.integrity->sid + L"]");
  }
  if (facts.isElevated) text += Row(L"Elevated", ElevationText(*facts.isElevated, facts));
  for (const UntoldFact& fact : facts.untold) {
    text += Row(L"Not told", FromUtf8(fact.fact) + L": " + SystemText(fact.status));
  }
  return text + GroupsText(facts) + PrivilegesText(facts);
}

Json ToJson(const TokenFacts& facts) {
  Json json = {
      {"error", nullptr},
      {"status", nullptr},
      {"account", facts.account ? ToJson(*facts.account) : Json()},
      {"impersonationLevel", WordOrNull(LevelWord(facts.level))},
      {"logonSession", facts.logonSession ? Json(ToUtf8(HexNumber(*facts.logonSession))) : Json()},
      {"integrity", facts.integrityLevel ? Json(IntegrityWord(*facts.integrityLevel)) : Json()},
      {"integritySid", facts.integrity ? Json(ToUtf8(facts.integrity->sid)) : Json()},
      {"elevated", facts.isElevated ? Json(*facts.isElevated) : Json()},
      {"elevationType", WordOrNull(ElevationWord(facts.elevation))},
      {"groups", Json::array()},
      {"privileges", Json::array()},
      {"untold", Json::array()}};
  AddStatus(json, facts.error);
  for (const TokenGroup& group : facts.groups) json["groups"].push_back(ToJson(group));
  for (const TokenPrivilege& row : facts.privileges) json["privileges"].push_back(ToJson(row));
  for (const UntoldFact& fact : facts.untold) {
    json["untold"].push_back({{"fact", fact.fact}, {"status", fact.status}});
  }
  return json;
}

}  // namespace vtctl
