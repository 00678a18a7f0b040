#include <vector>

#include "config/multi_string.h"
#include "platform/no_throw.h"
#include "vtclass/config.h"

using vtclass::WideText;
using vtclass::config::PackItems;
using vtclass::config::StoredSize;
using vtclass::platform::StatusOf;

namespace {

long Store(HKEY key, const wchar_t* name, DWORD type, const void* data, DWORD size) {
  // The system reads the data without asking whether there is any.
  if (!data && size != 0) return ERROR_INVALID_PARAMETER;
  return ::RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), size);
}

long StoreUnits(HKEY key, const wchar_t* name, DWORD type, const wchar_t* text, size_t units) {
  const auto size = StoredSize(units);
  return size ? Store(key, name, type, text, *size) : ERROR_INVALID_PARAMETER;
}

}  // namespace

bool Configuration::SaveDWORD(const wchar_t* name, unsigned long value) {
  return Succeeded(Store(key, name, REG_DWORD, &value, sizeof(value)));
}

bool Configuration::Save(const wchar_t* name, const wcstring& value) {
  return Save(name, value, REG_SZ);
}

bool Configuration::Save(const wchar_t* name, const wcstring& value, unsigned long type) {
  return SaveUnits(name, value.c_str(), value.size() + 1, type);
}

bool Configuration::SaveUnits(const wchar_t* name, const wchar_t* text, std::size_t units,
                              unsigned long type) {
  return Succeeded(StoreUnits(key, name, type, text, units));
}

bool Configuration::Save(const wchar_t* name, const unsigned char* data, unsigned long size) {
  return SaveRaw(name, data, size, REG_BINARY);
}

bool Configuration::Save(const wchar_t* name, std::vector<wcstring>& values) {
  return Succeeded(StatusOf([&] {
    const WideText packed = PackItems(values);
    return StoreUnits(key, name, REG_MULTI_SZ, packed.c_str(), packed.size());
  }));
}

bool Configuration::SaveRaw(const wchar_t* name, const unsigned char* data, unsigned long size,
                            unsigned long type) {
  return Succeeded(Store(key, name, type, data, size));
}
