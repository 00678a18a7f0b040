#include "tools/vtctl/shared/json.h"

#include "tools/vtctl/shared/console.h"

namespace vtctl {

Json TextOrNull(const std::wstring& text) {
  if (text.empty()) return nullptr;
  return ToUtf8(text);
}

void PrintJson(const Json& json) { PrintUtf8(json.dump(2) + "\n"); }

void PrintJsonLine(const Json& json) { PrintUtf8(json.dump() + "\n"); }

}  // namespace vtctl
