#ifndef VTCLASS_TOOLS_VTCTL_SETTINGS_MONITORED_H
#define VTCLASS_TOOLS_VTCTL_SETTINGS_MONITORED_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "config/registry_values.h"
#include "tools/vtctl/shared/json.h"
#include "vtclass/settings_monitor.h"

namespace vtctl {

/* The keys that the settings monitor watches. */
enum class SettingsKey { logging, debug };

/* One value that the settings monitor follows, as operators speak of it. */
struct MonitoredSetting {
  SettingsKey key;
  bool isWatched; /* false: it lies in another product's key, and changes reach nobody */
  MonitoredValue value;
  std::wstring usual;                        /* what counts while none is stored */
  const vtclass::config::RegistryValue* row; /* what its readers make of it */

  bool IsText() const { return value.kind == Setting::stringKind; }
  bool HasRange() const { return row->maximum > 0; }
  bool IsInRange(unsigned long number) const {
    return !HasRange() || (number >= row->minimum && number <= row->maximum);
  }
  Setting Open() const {
    return {HKEY_LOCAL_MACHINE, value.key, value.name, value.kind, value.minimum, value.maximum};
  }
};

/* All of them, for the product that is selected. */
std::vector<MonitoredSetting> MonitoredSettings();

/* The one of that name, in any case. Both keys have some names in common: without `key` the logging
 * key's is meant. Nothing when there is none. */
std::optional<MonitoredSetting> FindSetting(std::wstring_view name, std::optional<SettingsKey> key);

/* "text", "number", "number, 0 to 2", "switch, 0 or 1", "debug mask". */
std::wstring TypeText(const MonitoredSetting& setting);

/* The value that a setting has read, nothing when it never read one. */
std::optional<std::wstring> LastValue(const Setting& setting);

/* What is stored now. */
struct StoredSetting {
  std::optional<std::wstring> value; /* nothing when it is missing or of another type */
  long status = 0;                   /* why the key could not be opened */
  bool hasOtherType = false;         /* so services pass it over */
};
StoredSetting ReadStored(const MonitoredSetting& setting);

/* Takes the stored value away, whatever its type; one that is not stored is no failure. The
 * system's status. */
unsigned long Unset(const MonitoredSetting& setting);

/* Stores a value given as text, numbers in decimal or 0x.... */
struct StoreResult {
  std::wstring problem; /* why the text is no value of the setting; nothing was written then */
  long status = 0;      /* of writing it */
};
StoreResult Store(const MonitoredSetting& setting, const std::wstring& text);

/* {"key": ..., "name": ..., "kind": ..., "minimum": ..., "maximum": ...} */
Json ToJson(const MonitoredSetting& setting);
/* The same with its data and what is to be said of it. */
Json ToJson(const MonitoredSetting& setting, const std::optional<std::wstring>& data);

bool IsOutOfRange(const MonitoredSetting& setting, const std::optional<std::wstring>& data);

/* What is wrong with such data, or what it leads to beside the other values that are stored now;
 * empty where it means what it says. */
std::wstring Remark(const MonitoredSetting& setting, const std::optional<std::wstring>& data);

/* The value as JSON: a number, a text, or null. */
Json ValueAsJson(const MonitoredSetting& setting, const std::optional<std::wstring>& value);

/* "Access denied. (5)" of an HRESULT that carries a Win32 code. */
std::wstring StatusText(long status);

}  // namespace vtctl

#endif
