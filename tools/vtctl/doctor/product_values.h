#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_PRODUCT_VALUES_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_PRODUCT_VALUES_H

#include <optional>
#include <string>
#include <vector>

#include "config/registry_values.h"
#include "log/debug/size_limits.h"
#include "tools/vtctl/shared/value.h"

/* The product's registry, as several checks look at it. */
namespace vtctl::doctor {

/* The keys that hold values, the product's root first. */
std::vector<const vtclass::config::ProductKey*> ProductKeys();

/* "Vantorel\Engine\Logging": a key below HKEY_LOCAL_MACHINE, named with that or without, as people
 * know it. */
std::wstring ShownKey(const std::wstring& path);

/* A value of the table as it is stored. */
struct StoredValue {
  const vtclass::config::RegistryValue* value = nullptr;
  std::wstring key;          /* where it lies, below HKEY_LOCAL_MACHINE */
  std::optional<Value> data; /* nothing when there is none, or it cannot be read */
  unsigned long error = 0;   /* why it cannot be read; a missing one is no failure */
};

/* All values of the table, those of databases once for each database. Writes nothing. */
std::vector<StoredValue> ReadProductValues();

/* The number that a value of the table holds, or that counts while it holds none. */
unsigned long NumberIn(const std::vector<StoredValue>& values,
                       const vtclass::config::RegistryValue& value);
/* The limits of debug logs, as they are stored. */
vtclass::log::SizeSettings SizeSettingsIn(const std::vector<StoredValue>& values);
/* As NumberIn, for a text. */
std::wstring TextIn(const std::vector<StoredValue>& values,
                    const vtclass::config::RegistryValue& value);

}  // namespace vtctl::doctor

#endif
