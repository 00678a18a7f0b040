#ifndef VTCLASS_TOOLS_VTCTL_SHARED_VALUE_H
#define VTCLASS_TOOLS_VTCTL_SHARED_VALUE_H

#include <vtclass/win32.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/value_text.h"

namespace vtctl {

/* The data of one registry value, as stored. */
struct Value {
  DWORD type = REG_NONE;
  std::vector<unsigned char> data;

  bool operator==(const Value&) const = default;
};

/* The number's last hexadecimal digits, so many. */
std::wstring HexDigits(unsigned long long number, int digits);

/* "REG_SZ", "REG_DWORD", ...; "type 42" for a number that has no name. */
std::wstring TypeName(DWORD type);

/* The number of a REG_DWORD or REG_QWORD; nothing for another type or size. */
std::optional<unsigned long long> NumberOf(const Value& value);

/* True for the types whose data is one text. */
bool IsText(DWORD type);

/* The text of a string value up to its first zero; odd last bytes are passed over. */
std::wstring TextOf(const Value& value);
/* The items of a multi-string; empty ones do not count. */
std::vector<std::wstring> ItemsOf(const Value& value);

/* The name of a value as lists show it; "(default)" for the one without a name. */
std::wstring ShownName(const std::wstring& name);
/* The value on one line, for lists and changes. */
std::wstring OneLine(const Value& value);
/* The value for itself: the text, one item a line, a number, or a hex dump. What would break a line
 * or speak to the terminal is made visible. */
std::wstring FullText(const Value& value);
/* {"type": ..., "data": ...}: text, list of texts, number, or bytes in hexadecimal. */
Json ToJson(const Value& value);

}  // namespace vtctl

#endif
