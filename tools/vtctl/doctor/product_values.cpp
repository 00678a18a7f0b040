#include "tools/vtctl/doctor/product_values.h"

#include <vtclass/win32.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "tools/vtctl/doctor/finding.h"
#include "vtclass/config.h"

namespace vtctl::doctor {
namespace {

using namespace vtclass::config;

std::vector<const RegistryValue*> AllValues() {
  std::vector<const RegistryValue*> values(std::begin(kMonitoredValues),
                                           std::end(kMonitoredValues));
  values.insert(values.end(), std::begin(kOtherValues), std::end(kOtherValues));
  return values;
}

StoredValue Read(const RegistryValue& value, const std::wstring& path) {
  StoredValue stored = {&value, path, std::nullopt, 0};
  Configuration key;
  Value data;
  if (key.Open(Configuration::openExisting, path.c_str(), nullptr, Configuration::accessRead) &&
      LoadValue(key, value.name, data)) {
    stored.data = std::move(data);
    return stored;
  }
  const auto error = static_cast<unsigned long>(key.GetErrorCode());
  if (!IsMissing(error)) stored.error = error;
  return stored;
}

// Of each database the value; of none where they cannot be listed, but that.
void ReadOfDatabases(const RegistryValue& value, std::vector<StoredValue>& values) {
  const std::wstring path = value.key.Path();
  const std::wstring below = path + L"\\";
  const StoredKey databases = ReadProductKey(path);
  for (const std::wstring& name : databases.contents.subkeys) {
    values.push_back(Read(value, below + name));
  }
  if (databases.error != 0) values.push_back({&value, path, std::nullopt, databases.error});
}

// Null unless it is usable.
const Value* UsableIn(const std::vector<StoredValue>& values, const RegistryValue& value) {
  const StoredValue& stored = ValueAmong(values, value);
  if (stored.Came() != Reading::usable || !stored.data) return nullptr;
  return &*stored.data;
}

}  // namespace

std::vector<const ProductKey*> ProductKeys() {
  std::vector<const ProductKey*> keys = {&kProductRoot};
  for (const RegistryValue* const value : AllValues()) {
    const auto isSame = [&](const ProductKey* key) {
      return std::wstring_view(key->Path()) == value->key.Path();
    };
    if (std::ranges::none_of(keys, isSame)) keys.push_back(&value->key);
  }
  return keys;
}

std::wstring ShownKey(const std::wstring& path) {
  std::wstring_view shown = path;
  for (const std::wstring_view part : {L"HKEY_LOCAL_MACHINE\\", L"" VTCLASS_PRODUCT_FOLDER "\\"}) {
    if (shown.starts_with(part)) shown.remove_prefix(part.size());
  }
  return std::wstring(shown);
}

std::vector<StoredValue> ReadProductValues() {
  std::vector<StoredValue> values;
  for (const RegistryValue* const value : AllValues()) {
    if (&value->key == &kOracleAgentKey) {
      ReadOfDatabases(*value, values);
    } else {
      values.push_back(Read(*value, value->key.Path()));
    }
  }
  return values;
}

const StoredValue& ValueAmong(const std::vector<StoredValue>& values, const RegistryValue& value) {
  static const StoredValue absent;
  const auto stored = std::ranges::find(values, &value, &StoredValue::value);
  return stored == values.end() ? absent : *stored;
}

bool IsNumber(const RegistryValue& value) {
  return value.kind != ValueKind::text && value.kind != ValueKind::list;
}

Reading StoredValue::Came() const {
  if (error != 0) return Reading::unreadable;
  if (!data) return Reading::absent;
  const bool isRight = IsNumber(*value) ? data->type == REG_DWORD && NumberOf(*data)
                                        : IsText(data->type) || data->type == REG_MULTI_SZ;
  return isRight ? Reading::usable : Reading::wrongForm;
}

StoredKey ReadProductKey(const std::wstring& path) {
  StoredKey stored;
  KeyHandle key;
  const auto error = static_cast<unsigned long>(key.Open({{HKEY_LOCAL_MACHINE, path}, L"", 0}));
  if (error != ERROR_SUCCESS) {
    stored.error = IsMissing(error) ? ERROR_SUCCESS : error;
    return stored;
  }
  stored.contents = ReadKey(key.Get(), L"");
  if (stored.contents.unreadable != 0) stored.error = ERROR_INVALID_DATA;
  return stored;
}

unsigned long NumberIn(const std::vector<StoredValue>& values, const RegistryValue& value) {
  const Value* const stored = UsableIn(values, value);
  const auto number = stored ? NumberOf(*stored) : std::nullopt;
  return static_cast<unsigned long>(number.value_or(value.number));
}

vtclass::log::SizeSettings SizeSettingsIn(const std::vector<StoredValue>& values) {
  return {NumberIn(values, kMaxDebugFileEnabled),       NumberIn(values, kMaxDebugFileSize),
          NumberIn(values, kMaxDebugFileRetentionSize), NumberIn(values, kMaxDebugFileCount),
          NumberIn(values, kMaxDebugFileLimitMode),     NumberIn(values, kMaxDebugFileMsg),
          NumberIn(values, kMaxDebugFileAppend),        TextIn(values, kMaxDebugFileExt)};
}

std::wstring TextIn(const std::vector<StoredValue>& values, const RegistryValue& value) {
  const Value* const stored = UsableIn(values, value);
  if (stored) return TextOf(*stored);
  return value.text ? value.text : L"";
}

}  // namespace vtctl::doctor
