// Prints docs/registry-values.md.
#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "config/registry_values.h"

namespace {

using namespace vtclass::config;
using Values = std::vector<const RegistryValue*>;

static_assert(std::size(kMonitoredValues) + std::size(kOtherValues) == VALUE_COUNT,
              "a value of registry_values.h stands in neither list, or twice");

constexpr char kHead[] =
    "# Registry values\n"
    "\n"
    "Every value that the product reads or writes, made from `config/registry_values.h` of the\n"
    "sources; do not edit it here. The keys lie below `HKEY_LOCAL_MACHINE`; `vtctl settings`\n"
    "lists, changes and watches the live values, `vtctl registry` all of them.\n"
    "\n"
    "A text is a `REG_SZ`, a list a `REG_MULTI_SZ`, everything else a `REG_DWORD`; a value of\n"
    "another type counts as missing. *Live*: a process that runs hears of each change, and keeps\n"
    "what it knows when the value goes away. *Subscribers* are components that follow a value by\n"
    "the settings monitor.\n";

std::string Code(std::wstring_view text) {
  return "`" + std::string(text.begin(), text.end()) + "`";
}

std::string TypeOf(const RegistryValue& value) {
  if (value.kind == ValueKind::text) return "text";
  if (value.kind == ValueKind::list) return "list of texts";
  if (value.kind == ValueKind::toggle) return "switch, 0 or 1";
  if (value.kind == ValueKind::debugMask) return "mask";
  if (value.maximum == 0) return "number";
  return "number, " + std::to_string(value.minimum) + " to " + std::to_string(value.maximum);
}

std::string DefaultOf(const RegistryValue& value) {
  if (value.otherwise) return value.otherwise;
  if (value.text) return Code(value.text);
  const bool isNumber = value.kind != ValueKind::text && value.kind != ValueKind::list;
  return isNumber ? std::to_string(value.number) : "nothing";
}

void PrintKey(const ProductKey& key, const Values& values) {
  const std::wstring_view path = key.ofProduct;
  const bool isOneForBoth = path == key.ofSibling;
  std::string text = "\n## " + Code(path.substr(std::size(VTCLASS_PRODUCT_FOLDER)));
  if (isOneForBoth) text += " under both products";
  text += "\n\n" + std::string(key.purpose) + "\n\n- " + Code(path) + "\n";
  if (!isOneForBoth) text += "- " + Code(key.ofSibling) + " of the sibling product\n";
  text += "\n| value | type | if missing | read | by | what it does |\n|---|---|---|---|---|---|\n";
  for (const RegistryValue* value : values) {
    if (&value->key != &key) continue;
    text += "| " + Code(value->name) + " | " + TypeOf(*value) + " | " + DefaultOf(*value) + " | " +
            value->read + " | " + value->readers + " | " + value->purpose + " |\n";
  }
  std::fputs(text.c_str(), stdout);
}

}  // namespace

int main() {
  Values values(std::begin(kMonitoredValues), std::end(kMonitoredValues));
  values.insert(values.end(), std::begin(kOtherValues), std::end(kOtherValues));
  // Line feeds alone, as the file has them.
  ::_setmode(::_fileno(stdout), _O_BINARY);
  std::fputs(kHead, stdout);
  std::vector<const ProductKey*> printed;
  for (const RegistryValue* value : values) {
    if (std::ranges::count(printed, &value->key) != 0) continue;
    printed.push_back(&value->key);
    PrintKey(value->key, values);
  }
  return 0;
}
