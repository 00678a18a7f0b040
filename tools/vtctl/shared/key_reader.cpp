#include "tools/vtctl/shared/key_reader.h"

#include <cstring>

namespace vtctl {
namespace {

// How often a value is asked for anew that grows between the question for its size and the
// reading.
constexpr int kAttempts = 4;

void StoreText(const wcstring& text, Value& out) {
  out.data.resize(text.size() * sizeof(wchar_t));
  if (!text.empty()) std::memcpy(out.data.data(), text.data(), out.data.size());
}

bool LoadBytes(Configuration& key, const wchar_t* name, unsigned long size, Value& out) {
  out.data.resize(size);
  // An empty value has no byte to read into; the system is asked all the same.
  unsigned char none = 0;
  unsigned char* data = size == 0 ? &none : out.data.data();
  if (out.type != REG_BINARY) return key.LoadRaw(name, data, size, out.type);
  if (!key.Load(name, data, &size)) return false;
  out.data.resize(size);
  return true;
}

bool LoadOnce(Configuration& key, const wchar_t* name, Value& out) {
  unsigned long size = 0;
  unsigned long type = REG_NONE;
  if (!key.GetDataSize(name, &size, &type)) return false;
  out.type = type;
  wcstring text;
  unsigned long number = 0;
  switch (type) {
    case REG_SZ:
    case REG_EXPAND_SZ:
    case REG_MULTI_SZ:
      if (!key.Load(name, text)) return false;
      StoreText(text, out);
      return true;
    case REG_DWORD:
      if (size != sizeof number) return LoadBytes(key, name, size, out);
      if (!key.LoadDWORD(name, number)) return false;
      out.data.resize(sizeof number);
      std::memcpy(out.data.data(), &number, sizeof number);
      return true;
    default:
      return LoadBytes(key, name, size, out);
  }
}

}  // namespace

LSTATUS KeyHandle::Open(const KeyTarget& target) {
  REGSAM access = KEY_READ;
  if (target.view & Configuration::access64BitView) access |= KEY_WOW64_64KEY;
  if (target.view & Configuration::access32BitView) access |= KEY_WOW64_32KEY;
  HKEY parent = target.path.root;
  if (!target.machine.empty()) {
    const LSTATUS status =
        ::RegConnectRegistryW(target.machine.c_str(), parent, remoteRoot.Receive());
    if (status != ERROR_SUCCESS) return status;
    parent = remoteRoot.Get();
  }
  return ::RegOpenKeyExW(parent, target.path.subkey.c_str(), 0, access, key.Receive());
}

bool LoadValue(Configuration& key, const wchar_t* name, Value& out) {
  for (int attempt = 1;; ++attempt) {
    if (LoadOnce(key, name, out)) return true;
    if (key.GetErrorCode() != ERROR_MORE_DATA || attempt == kAttempts) return false;
  }
}

KeyContents ReadKey(HKEY parent, const std::wstring& subkey) {
  KeyContents contents;
  CRegistryValuesIterator values(subkey.c_str(), parent, 0);
  for (const wchar_t* name = values.First(); name; name = values.Next()) {
    const unsigned char* data = values.getData();
    contents.values[name] = {values.getType(), {data, data + values.getDataSize()}};
  }
  CRegistryKeysIterator keys(subkey.c_str(), parent, 0);
  for (const wchar_t* name = keys.First(); name; name = keys.Next())
    contents.subkeys.emplace_back(name);
  // The iterators end at the first entry that they cannot read.
  const unsigned long expected = values.GetCount() + keys.GetCount();
  const auto read = static_cast<unsigned long>(contents.values.size() + contents.subkeys.size());
  contents.unreadable = expected > read ? expected - read : 0;
  return contents;
}

}  // namespace vtctl
