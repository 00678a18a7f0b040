#include "tools/vtctl/doctor/product_values.h"

#include <vtclass/win32.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "tools/vtctl/shared/key_reader.h"
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
  if (error != ERROR_FILE_NOT_FOUND) stored.error = error;
  return stored;
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
    const std::wstring path = value->key.Path();
    if (&value->key != &kOracleAgentKey) {
      values.push_back(Read(*value, path));
      continue;
    }
    CRegistryKeysIterator databases(path.c_str(), HKEY_LOCAL_MACHINE, 0);
    for (const wchar_t* name = databases.First(); name; name = databases.Next()) {
      values.push_back(Read(*value, path + L"\\" + name));
    }
  }
  return values;
}

unsigned long NumberIn(const std::vector<StoredValue>& values, const RegistryValue& value) {
  const auto at = std::ranges::find(values, &value, &StoredValue::value);
  const bool isNumber = at != values.end() && at->data && at->data->type == REG_DWORD;
  const auto number = isNumber ? NumberOf(*at->data) : std::nullopt;
  return static_cast<unsigned long>(number.value_or(value.number));
}

vtclass::log::SizeSettings SizeSettingsIn(const std::vector<StoredValue>& values) {
  return {NumberIn(values, kMaxDebugFileEnabled),       NumberIn(values, kMaxDebugFileSize),
          NumberIn(values, kMaxDebugFileRetentionSize), NumberIn(values, kMaxDebugFileCount),
          NumberIn(values, kMaxDebugFileLimitMode),     NumberIn(values, kMaxDebugFileMsg),
          NumberIn(values, kMaxDebugFileAppend),        TextIn(values, kMaxDebugFileExt)};
}

std::wstring TextIn(const std::vector<StoredValue>& values, const RegistryValue& value) {
  const auto at = std::ranges::find(values, &value, &StoredValue::value);
  if (at != values.end() && at->data && IsText(at->data->type)) return TextOf(*at->data);
  return value.text ? value.text : L"";
}

}  // namespace vtctl::doctor
