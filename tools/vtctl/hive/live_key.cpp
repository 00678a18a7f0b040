#include "tools/vtctl/hive/live_key.h"

#include <algorithm>

#include "platform/checked_cast.h"

namespace vtctl {
namespace {

using vtclass::platform::CheckedCast;

// Longer than every name that the platform allows, with the terminator.
constexpr DWORD kKeyNameRoom = 256;
constexpr DWORD kValueNameRoom = 16384;
constexpr std::size_t kFirstDataRoom = 4096;

LSTATUS ReadSubkeys(HKEY key, std::vector<std::wstring>& names) {
  wchar_t name[kKeyNameRoom + 1];  // Wine has keys of 256 characters
  for (DWORD index = 0;; ++index) {
    auto length = static_cast<DWORD>(std::size(name));
    const LSTATUS status =
        ::RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
    if (status != ERROR_SUCCESS) return status;
    names.emplace_back(name, length);
  }
}

// Data may grow between the call that tells its size and the one that reads it.
LSTATUS ReadValue(HKEY key, DWORD index, std::vector<wchar_t>& name,
                  std::vector<unsigned char>& data, LiveKey& live) {
  for (;;) {
    const auto room = CheckedCast<DWORD>(data.size());
    if (!room) return ERROR_NOT_ENOUGH_MEMORY;
    DWORD length = static_cast<DWORD>(name.size()), type = REG_NONE, size = *room;
    const LSTATUS status =
        ::RegEnumValueW(key, index, name.data(), &length, nullptr, &type, data.data(), &size);
    if (status == ERROR_MORE_DATA) {
      data.resize(std::max<std::size_t>(size, data.size() * 2));
      continue;
    }
    if (status != ERROR_SUCCESS) return status;
    live.storage.emplace_back(data.begin(), data.begin() + size);
    live.contents.values.push_back(
        {std::wstring(name.data(), length), type, vtclass::hive::StoredData(live.storage.back())});
    return ERROR_SUCCESS;
  }
}

}  // namespace

LSTATUS OpenBelow(HKEY parent, const std::wstring& name, vtclass::platform::OwnedRegistryKey& key) {
  return ::RegOpenKeyExW(parent, name.c_str(), REG_OPTION_OPEN_LINK, KEY_READ, key.Receive());
}

LSTATUS ReadLiveKey(HKEY key, LiveKey& live) {
  std::vector<wchar_t> name(kValueNameRoom);
  std::vector<unsigned char> data(kFirstDataRoom);
  for (DWORD index = 0;; ++index) {
    const LSTATUS status = ReadValue(key, index, name, data, live);
    if (status == ERROR_NO_MORE_ITEMS) break;
    if (status != ERROR_SUCCESS) return status;
  }
  return ReadSubkeys(key, live.contents.subkeys);
}

}  // namespace vtctl
