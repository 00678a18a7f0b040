#include "config/multi_string.h"
#include "config/stored_text.h"
#include "platform/border.h"
#include "platform/no_throw.h"
#include "vtclass/config.h"

using vtclass::WideView;
using vtclass::border::ListSink;
using vtclass::border::WideSink;
using vtclass::config::AppendItems;
using vtclass::config::kWrongType;
using vtclass::config::StoredText;
using vtclass::platform::HandOver;
using vtclass::platform::StatusOf;

namespace {

BYTE* Bytes(void* data) { return static_cast<BYTE*>(data); }

// A value of another type that does not fit the buffer answers ERROR_MORE_DATA. Its type still
// decides: callers take -1 as "somebody stored something else here".
long CheckType(long status, DWORD type, DWORD wanted) {
  const bool typeIsKnown = status == ERROR_SUCCESS || status == ERROR_MORE_DATA;
  return typeIsKnown && type != wanted ? kWrongType : status;
}

// Only what is known to be missing or useless may be written over. After any other failure, say of
// the memory or of the connection, the stored value may well be right.
bool IsReplaceable(long status) { return status == ERROR_FILE_NOT_FOUND || status == kWrongType; }

}  // namespace

bool Configuration::LoadDWORD(const wchar_t* name, unsigned long& out) {
  DWORD value = 0;
  DWORD size = sizeof(value);
  DWORD type = REG_NONE;
  long status = ::RegQueryValueExW(key, name, nullptr, &type, Bytes(&value), &size);
  status = CheckType(status, type, REG_DWORD);
  // A damaged number, too short or too long, is no number.
  if (status == ERROR_MORE_DATA || (status == ERROR_SUCCESS && size != sizeof(value))) {
    status = kWrongType;
  }
  if (status == ERROR_SUCCESS) out = value;
  return Succeeded(status);
}

bool Configuration::Load(const wchar_t* name, unsigned long& out, unsigned long def) {
  if (LoadDWORD(name, out)) return true;
  out = def;
  return IsReplaceable(lastError) && SaveDWORD(name, def);
}

bool Configuration::LoadText(const wchar_t* name, const WideSink& out) noexcept {
  StoredText stored;
  return Succeeded(StatusOf([&] {
    const long status = stored.Read(key, name);
    if (status != ERROR_SUCCESS) return status;
    // The last character is dropped without a look at it. A list of texts so keeps the zeros
    // between its items, and a text that was stored without terminator loses a character: both
    // have always been read that way.
    const WideView text = stored.Characters();
    HandOver(out, text.substr(0, text.empty() ? 0 : text.size() - 1));
    return status;
  }));
}

bool Configuration::LoadText(const wchar_t* name, const WideSink& out,
                             const wchar_t* def) noexcept {
  if (LoadText(name, out)) return true;
  const WideView text = def ? def : L"";
  // Before `out` is filled: the name and the default may lie in it.
  const bool isWritten =
      IsReplaceable(lastError) && SaveUnits(name, text.data(), text.size() + 1, REG_SZ);
  const DWORD failure = StatusOf([&] { HandOver(out, text); });
  return Succeeded(static_cast<long>(failure)) && isWritten;
}

bool Configuration::LoadList(const wchar_t* name, ListSink out) noexcept {
  out.Clear();
  StoredText stored;
  long status = stored.Read(key, name);
  if (status == ERROR_SUCCESS && !AppendItems(stored.Characters(), out)) {
    status = ERROR_NOT_ENOUGH_MEMORY;
  }
  return Succeeded(status);
}

// All characters of a text or of a list, terminators included; `out` is empty after a failure.
bool Configuration::LoadStored(const wchar_t* name, std::wstring& out) noexcept {
  out.clear();
  StoredText stored;
  return Succeeded(StatusOf([&] {
    const long status = stored.Read(key, name);
    if (status == ERROR_SUCCESS) out = stored.Characters();
    return status;
  }));
}

bool Configuration::Load(const wchar_t* name, unsigned char* data, unsigned long* size) {
  DWORD type = REG_NONE;
  const long status = ::RegQueryValueExW(key, name, nullptr, &type, data, size);
  return Succeeded(CheckType(status, type, REG_BINARY));
}

bool Configuration::LoadRaw(const wchar_t* name, unsigned char* data, unsigned long size,
                            unsigned long type) {
  return Succeeded(::RegQueryValueExW(key, name, nullptr, &type, data, &size));
}

bool Configuration::GetDataSize(const wchar_t* name, unsigned long* size, unsigned long* type) {
  return Succeeded(::RegQueryValueExW(key, name, nullptr, type, nullptr, size));
}
