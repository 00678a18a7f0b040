#ifndef VTCLASS_TOOLS_VTCTL_SHARED_JSON_H
#define VTCLASS_TOOLS_VTCTL_SHARED_JSON_H

#include <string>

#include <nlohmann/json.hpp>

namespace vtctl {

/* Members stand in the order in which they are made. */
using Json = nlohmann::ordered_json;

/* Text that is missing is null. */
Json TextOrNull(const std::wstring& text);

/* An answer: one value over several lines. */
void PrintJson(const Json& json);
/* One of several that come as things happen: a line each. */
void PrintJsonLine(const Json& json);

}  // namespace vtctl

#endif
