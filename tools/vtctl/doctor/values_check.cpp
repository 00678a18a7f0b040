#include "tools/vtctl/doctor/values_check.h"

#include <vtclass/win32.h>

#include <algorithm>
#include <string>

#include "log/debug/log_names.h"
#include "log/messages/message_language.h"
#include "net/dns_timeout.h"
#include "tools/vtctl/doctor/checks.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/key_path.h"
#include "tools/vtctl/shared/limit_remarks.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl::doctor {
namespace {

using namespace vtclass::config;

std::wstring Quoted(const std::wstring& text) { return L"\"" + text + L"\""; }

std::wstring Name(const StoredValue& stored) {
  return Quoted(stored.value->name) + L" of " + ShownKey(stored.key);
}

// The guide's words, without its marks.
std::wstring Purpose(const RegistryValue& value) {
  std::wstring text = FromUtf8(value.purpose);
  std::erase(text, L'`');
  return text;
}

// As it is stored; readers take one text for another.
const wchar_t* RightType(const RegistryValue& value) {
  if (value.kind == ValueKind::text) return L"REG_SZ";
  return value.kind == ValueKind::list ? L"REG_MULTI_SZ" : L"REG_DWORD";
}

// A shell takes some characters for itself even between quotation marks, and what is not seen is
// not judged: a command with one of them is not for pasting.
bool IsPasteable(const std::wstring& word) {
  return word.find_first_of(L"\"%$&|<>^!`\x201C\x201D\x201E") == std::wstring::npos &&
         Printable(word) == word;
}

std::wstring DeleteCommand(const StoredValue& stored) {
  return L"reg delete " + Quoted(KeyName({HKEY_LOCAL_MACHINE, stored.key})) + L" /v " +
         Quoted(stored.value->name);
}

// Whether storing the table's default means the same as storing nothing.
bool HasStorableDefault(const RegistryValue& value) {
  return IsNumber(value) ? value.otherwise == nullptr : value.text != nullptr;
}

// The command after which the value counts as it would if none were stored.
std::wstring DefaultCommand(const StoredValue& stored) {
  const RegistryValue& value = *stored.value;
  if (!HasStorableDefault(value)) return DeleteCommand(stored);
  const std::wstring data = IsNumber(value) ? std::to_wstring(value.number) : Quoted(value.text);
  if (std::ranges::find(kMonitoredValues, &value) != std::end(kMonitoredValues)) {
    return L"vtctl settings set " + Quoted(value.name) + L" " + data +
           (&value.key == &kLoggingKey ? L"" : L" --key debug");
  }
  return L"vtctl registry set " + Quoted(KeyName({HKEY_LOCAL_MACHINE, stored.key})) + L" " +
         Quoted(value.name) + L" " + data + L" --type " + (IsNumber(value) ? L"dword" : L"sz");
}

std::wstring ToDefault(const StoredValue& stored) {
  if (IsPasteable(stored.key)) return DefaultCommand(stored);
  return L"Delete the value " + Quoted(stored.value->name) +
         L" with the registry editor, in the key that is named above; its name is not fit for a "
         L"command line.";
}

Finding Warning(const StoredValue& stored, const char* code) {
  Finding finding = {.verdict = Verdict::warning, .code = code};
  finding.path = KeyName({HKEY_LOCAL_MACHINE, stored.key});
  finding.remedy = ToDefault(stored);
  return finding;
}

Finding WrongType(const StoredValue& stored, const Value& data) {
  Finding finding = Warning(stored, "value-wrong-type");
  const std::wstring right = RightType(*stored.value);
  finding.what = Name(stored) + L" is a " + TypeName(data.type);
  if (TypeName(data.type) == right) {
    finding.what += L" of " + std::to_wstring(data.data.size()) + L" bytes, not of 4.";
  } else {
    finding.what += L", not a " + right + L".";
  }
  finding.reason = L"One of another type or size counts as missing.";
  return finding;
}

bool IsInRange(const RegistryValue& value, unsigned long number) {
  if (&value == &kDnsQueryTimeout) return vtclass::net::UsableTimeout(number) == number;
  return value.maximum == 0 || (number >= value.minimum && number <= value.maximum);
}

Finding OutOfRange(const StoredValue& stored, unsigned long number) {
  Finding finding = Warning(stored, "value-out-of-range");
  finding.what = Name(stored) + L" is " + std::to_wstring(number) + L"; its range is " +
                 std::to_wstring(stored.value->minimum) + L" to " +
                 std::to_wstring(stored.value->maximum) + L".";
  finding.reason = Purpose(*stored.value);
  return finding;
}

void JudgeNumber(const StoredValue& stored, const Value& data, Findings& findings) {
  const auto number = static_cast<unsigned long>(NumberOf(data).value_or(stored.value->number));
  if (!IsInRange(*stored.value, number)) findings.push_back(OutOfRange(stored, number));
}

// Texts of which a rule says more than their type.
void JudgeText(const StoredValue& stored, const Value& data, Findings& findings) {
  const std::wstring text = TextOf(data);
  const bool isLanguage = stored.value == &kLanguage && !text.empty();
  const bool isBadLanguage = isLanguage && !vtclass::log::IsLanguageCode(text);
  const bool isBadExtension =
      stored.value == &kMaxDebugFileExt && !vtclass::log::IsRotationExtension(text);
  if (!isBadLanguage && !isBadExtension) return;
  Finding finding = Warning(stored, "value-unusable");
  finding.what = Name(stored) + L" is " + Quoted(text) + L", which cannot be used.";
  finding.reason = Purpose(*stored.value);
  findings.push_back(finding);
}

// Sizes that are no limits: each is in its range, and the two do not go together.
void JudgeSizes(const std::vector<StoredValue>& values, Findings& findings) {
  const vtclass::log::SizeSettings settings = SizeSettingsIn(values);
  if (!CountSizesByDefault(settings)) return;
  const auto size = std::ranges::find(values, &kMaxDebugFileSize, &StoredValue::value);
  if (size == values.end()) return;
  Finding finding = Warning(*size, "sizes-unusable");
  finding.what = Name(*size) + L" is " + std::to_wstring(settings.sizeMB) +
                 L" with a retention size of " + std::to_wstring(settings.retentionMB) + L".";
  finding.reason = Purpose(kMaxDebugFileSize);
  finding.remedy = L"Store a size above the retention size. What counts now: " + ToDefault(*size) +
                   L" and " + ToDefault({&kMaxDebugFileRetentionSize, size->key, std::nullopt, 0});
  findings.push_back(finding);
}

Finding Unreadable(const StoredValue& stored) {
  Finding finding = Warning(stored, "value-unreadable");
  finding.status = stored.error;
  finding.what = Name(stored) + L" cannot be read: " + SystemText(stored.error);
  finding.reason = L"A component with this account goes by its default, or by what it knew.";
  finding.remedy = kLetRead;
  return finding;
}

// All values of a key that may not be read fail alike: one finding for each key.
bool IsFirstOfKey(const std::vector<StoredValue>& values, const StoredValue& stored) {
  const auto isSame = [&](const StoredValue& other) {
    return other.key == stored.key && other.error == stored.error;
  };
  return &*std::ranges::find_if(values, isSame) == &stored;
}

}  // namespace

Findings JudgeValues(const std::vector<StoredValue>& values) {
  Findings findings;
  for (const StoredValue& stored : values) {
    const Value data = stored.data.value_or(Value{});
    switch (stored.Came()) {
      case Reading::absent:
        break;
      case Reading::unreadable:
        if (IsFirstOfKey(values, stored)) findings.push_back(Unreadable(stored));
        break;
      case Reading::wrongForm:
        findings.push_back(WrongType(stored, data));
        break;
      case Reading::usable:
        IsNumber(*stored.value) ? JudgeNumber(stored, data, findings)
                                : JudgeText(stored, data, findings);
    }
  }
  JudgeSizes(values, findings);
  if (!findings.empty()) return findings;
  const auto count =
      std::ranges::count_if(values, [](auto& value) { return value.data.has_value(); });
  return {{.code = "values-usable",
           .what = count == 0 ? L"None is stored; the defaults count."
                              : std::to_wstring(count) +
                                    L" stored, all of the right type and in their ranges."}};
}

void CheckValues(Found& found) { found.Add(JudgeValues(ReadProductValues())); }

}  // namespace vtctl::doctor
