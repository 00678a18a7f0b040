#include "tools/vtctl/doctor/values_check.h"

#include <vtclass/win32.h>

#include <algorithm>
#include <string>

#include "log/debug/log_names.h"
#include "log/messages/message_language.h"
#include "net/dns_time_out.h"
#include "tools/vtctl/doctor/checks.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/key_path.h"
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

bool IsNumber(const RegistryValue& value) {
  return value.kind != ValueKind::text && value.kind != ValueKind::list;
}

// The command that stores what counts while nothing is stored; the word TEXT where nothing does.
std::wstring StoreCommand(const StoredValue& stored) {
  const RegistryValue& value = *stored.value;
  std::wstring data = value.text ? Quoted(value.text) : L"TEXT";
  const wchar_t* type = value.kind == ValueKind::list ? L"multi" : L"sz";
  if (IsNumber(value)) {
    data = std::to_wstring(std::max(value.number, value.minimum));
    type = L"dword";
  }
  if (std::ranges::find(kMonitoredValues, &value) != std::end(kMonitoredValues)) {
    return L"vtctl settings set " + Quoted(value.name) + L" " + data +
           (&value.key == &kLoggingKey ? L"" : L" --key debug");
  }
  return L"vtctl registry set " + Quoted(KeyName({HKEY_LOCAL_MACHINE, stored.key})) + L" " +
         Quoted(value.name) + L" " + data + L" --type " + type;
}

Finding Warning(const StoredValue& stored, const char* code) {
  Finding finding = {.verdict = Verdict::warning, .code = code};
  finding.path = KeyName({HKEY_LOCAL_MACHINE, stored.key});
  finding.remedy = StoreCommand(stored);
  return finding;
}

bool HasRightType(const StoredValue& stored, const Value& data) {
  if (!IsNumber(*stored.value)) return IsText(data.type) || data.type == REG_MULTI_SZ;
  return data.type == REG_DWORD && NumberOf(data);
}

Finding WrongType(const StoredValue& stored, const Value& data) {
  Finding finding = Warning(stored, "value-wrong-type");
  finding.what = Name(stored) + L" is a " + TypeName(data.type) + L", not a " +
                 RightType(*stored.value) + L".";
  finding.reason = L"One of another type counts as missing.";
  return finding;
}

bool IsInRange(const RegistryValue& value, unsigned long number) {
  if (&value == &kDnsQueryTimeOut) return vtclass::net::UsableTimeOut(number) == number;
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
  vtclass::log::SizeLimits limits;
  const bool isLimited = vtclass::log::LimitsFrom(settings, &limits) &&
                         limits.mode != vtclass::log::LimitMode::simpleRoll;
  const auto isKept = [](std::uint64_t bytes, std::uint32_t megabytes) {
    return bytes == std::uint64_t{megabytes} << 20;
  };
  if (!isLimited ||
      (isKept(limits.maximum, settings.sizeMB) && isKept(limits.retention, settings.retentionMB))) {
    return;
  }
  const auto size = std::ranges::find(values, &kMaxDebugFileSize, &StoredValue::value);
  if (size == values.end()) return;
  Finding finding = Warning(*size, "sizes-unusable");
  finding.what = Name(*size) + L" is " + std::to_wstring(settings.sizeMB) +
                 L" with a retention size of " + std::to_wstring(settings.retentionMB) + L".";
  finding.reason = Purpose(kMaxDebugFileSize);
  findings.push_back(finding);
}

Finding Unreadable(const StoredValue& stored) {
  Finding finding = Warning(stored, "value-unreadable");
  finding.status = stored.error;
  finding.what = Name(stored) + L" cannot be read: " + SystemText(stored.error);
  finding.reason = L"A component with this account goes by its default, or by what it knew.";
  finding.remedy = L"Run this as the agents' account; if that is this one, let it read the key.";
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
    if (stored.error != 0) {
      if (IsFirstOfKey(values, stored)) findings.push_back(Unreadable(stored));
    } else if (!stored.data) {
      continue;
    } else if (!HasRightType(stored, *stored.data)) {
      findings.push_back(WrongType(stored, *stored.data));
    } else if (!IsNumber(*stored.value)) {
      JudgeText(stored, *stored.data, findings);
    } else {
      JudgeNumber(stored, *stored.data, findings);
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

Findings CheckValues() { return JudgeValues(ReadProductValues()); }

}  // namespace vtctl::doctor
