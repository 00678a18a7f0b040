#include <algorithm>
#include <new>

#include "config/close_key.h"
#include "config/multi_string.h"
#include "config/traceless_open.h"
#include "vtclass/config.h"

using vtclass::WideView;
using vtclass::border::ListSink;
using vtclass::config::AppendItems;
using vtclass::config::CloseKey;
using vtclass::config::OpenWithoutTrace;

namespace {

// Longer than every key name that the platform allows, with the terminator.
constexpr DWORD kKeyNameChars = 256;

HKEY OpenForReading(const wchar_t* subkey, HKEY parent, DWORD options) {
  HKEY key = nullptr;
  DWORD disposition = 0;
  OpenWithoutTrace(parent, subkey, options, KEY_READ, key, disposition);
  return key;
}

}  // namespace

CRegistryKeysIterator::CRegistryKeysIterator(const wchar_t* subkey, HKEY parent,
                                             unsigned long options)
    : key(OpenForReading(subkey, parent, options)) {
  DWORD longest = 0;
  if (!key || ::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &count, &longest, nullptr, nullptr,
                                 nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
    return;
  }
  nameChars = longest + 2;
  name = new (std::nothrow) wchar_t[nameChars];
  if (!name) CloseKey(key);
}

CRegistryKeysIterator::~CRegistryKeysIterator() {
  CloseKey(key);
  delete[] name;
}

// The name buffer comes last in the construction, so it tells whether all of it succeeded.
bool CRegistryKeysIterator::isValid() const { return name != nullptr; }

unsigned long CRegistryKeysIterator::GetCount() const { return count; }

HKEY CRegistryKeysIterator::GetKey() const { return isValid() ? key : HKEY_LOCAL_MACHINE; }

const wchar_t* CRegistryKeysIterator::First() {
  if (!isValid()) return nullptr;
  DWORD chars = nameChars;
  long status = ::RegEnumKeyExW(key, index, name, &chars, nullptr, nullptr, nullptr, nullptr);
  if (status == ERROR_MORE_DATA) {
    // A key with a longer name has come since the construction. The length that the call reports
    // may be the one that was offered.
    const DWORD needed = std::max(chars, kKeyNameChars);
    auto* const larger = new (std::nothrow) wchar_t[needed];
    if (!larger) return nullptr;
    delete[] name;
    name = larger;
    nameChars = chars = needed;
    status = ::RegEnumKeyExW(key, index, name, &chars, nullptr, nullptr, nullptr, nullptr);
  }
  return status == ERROR_SUCCESS ? name : nullptr;
}

const wchar_t* CRegistryKeysIterator::Next() {
  ++index;
  return First();
}

CRegistryValuesIterator::CRegistryValuesIterator(const wchar_t* subkey, HKEY parent,
                                                 unsigned long options)
    : key(OpenForReading(subkey, parent, options)) {
  DWORD longest = 0;
  if (!key || ::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count,
                                 &longest, &dataCapacity, nullptr, nullptr) != ERROR_SUCCESS) {
    return;
  }
  nameChars = longest + 2;
  name = new (std::nothrow) wchar_t[nameChars];
  // Never null, also for no bytes at all: with a null buffer the system would report a value's
  // length without its data. Zeroed, because getData may be asked before a value was read.
  if (name) data = new (std::nothrow) unsigned char[dataCapacity]();
  if (!data) CloseKey(key);
}

CRegistryValuesIterator::~CRegistryValuesIterator() {
  CloseKey(key);
  delete[] name;
  delete[] data;
}

bool CRegistryValuesIterator::isValid() const { return data != nullptr; }

unsigned long CRegistryValuesIterator::GetCount() const { return count; }

const wchar_t* CRegistryValuesIterator::First() {
  if (!isValid()) return nullptr;
  DWORD chars = nameChars;
  DWORD size = dataCapacity;
  DWORD stored = REG_NONE;
  if (::RegEnumValueW(key, index, name, &chars, nullptr, &stored, data, &size) != ERROR_SUCCESS) {
    return nullptr;
  }
  type = stored;
  dataSize = size;
  return name;
}

const wchar_t* CRegistryValuesIterator::Next() {
  ++index;
  return First();
}

unsigned long CRegistryValuesIterator::getType() const { return type; }

unsigned char* CRegistryValuesIterator::getData() { return data; }

unsigned long CRegistryValuesIterator::getDataSize() const { return dataSize; }

bool CRegistryValuesIterator::AppendData(const ListSink& out) const noexcept {
  // GetValueOf may have left a size that belongs to another buffer.
  const DWORD size = std::min(dataSize, dataCapacity);
  return AppendItems(WideView(reinterpret_cast<const wchar_t*>(data), size / sizeof(wchar_t)), out);
}

int CRegistryValuesIterator::GetValueOf(const wchar_t* valueName, wchar_t* buffer) {
  if (!buffer || !valueName || !*valueName) return 0;
  return ::RegQueryValueExW(key, valueName, nullptr, &type, reinterpret_cast<BYTE*>(buffer),
                            &dataSize) == ERROR_SUCCESS;
}
