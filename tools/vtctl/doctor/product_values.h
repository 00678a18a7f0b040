#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_PRODUCT_VALUES_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_PRODUCT_VALUES_H

#include <optional>
#include <string>
#include <vector>

#include "config/registry_values.h"
#include "log/debug/size_limits.h"
#include "tools/vtctl/shared/key_reader.h"
#include "tools/vtctl/shared/value.h"

/* The product's registry, as several checks look at it. */
namespace vtctl::doctor {

/* The keys that hold values, the product's root first. */
std::vector<const vtclass::config::ProductKey*> ProductKeys();

/* "Vantorel\Engine\Logging": a key below HKEY_LOCAL_MACHINE, named with that or without, as people
 * know it. */
std::wstring ShownKey(const std::wstring& path);

/* What reading a value came to. Readers go by the default unless it is usable. */
enum class Reading {
  absent,
  usable,
  wrongForm, /* of another type or size than its readers take */
  unreadable /* whether there is one is not known */
};

/* A value of the table as it is stored. */
struct StoredValue {
  const vtclass::config::RegistryValue* value = nullptr;
  std::wstring key;          /* where it lies, below HKEY_LOCAL_MACHINE */
  std::optional<Value> data; /* nothing when there is none, or it cannot be read */
  unsigned long error = 0;   /* why it cannot be read; a missing one is no failure */

  Reading Came() const;
};

/* A key of the product as it is stored; a missing one is an empty one. */
struct StoredKey {
  KeyContents contents;
  unsigned long error = 0; /* why it cannot be read, or not to its end */
};
StoredKey ReadProductKey(const std::wstring& path);

/* All values of the table, those of databases once for each database; once, and unreadable, where
 * the databases cannot be listed. Writes nothing. */
std::vector<StoredValue> ReadProductValues();

/* The value as it was read; the first of several. */
const StoredValue& ValueAmong(const std::vector<StoredValue>& values,
                              const vtclass::config::RegistryValue& value);
/* Whether readers take a number. */
bool IsNumber(const vtclass::config::RegistryValue& value);

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
