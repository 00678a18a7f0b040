#ifndef VTCLASS_TOOLS_VTCTL_SHARED_JSON_H
#define VTCLASS_TOOLS_VTCTL_SHARED_JSON_H

#include <string>

#include <nlohmann/json.hpp>

namespace vtctl {

/* Members stand in the order in which they are made. docs/json.md states the rules of all of it. */
using Json = nlohmann::ordered_json;

/* Text that is missing is null. */
Json TextOrNull(const std::wstring& text);

/* Says of an answer or a part of it what failed: "error" in the system's words and "status" as its
 * number, both null for ERROR_SUCCESS. */
void AddStatus(Json& json, unsigned long status);

/* An answer: one value over several lines. */
void PrintJson(const Json& json);
/* One of several that come as things happen: a line each. */
void PrintJsonLine(const Json& json);

/* JSON text with what turns a line's direction, ends it or speaks to the terminal escaped as
 * \uXXXX, so that no name in it disguises another. */
std::string Escaped(const std::string& json);

/* What runs from now on: a command that is to print JSON, by its name ("registry get"), or one that
 * is not, by an empty one. */
void BeginJson(const std::string& command);

/* A failure as JSON, where a command is to print JSON and has not printed its answer, which would
 * tell it. Lines that were printed before it stay. */
void PrintFailureAsJson(int exitCode, unsigned long status, const std::wstring& sentence);

}  // namespace vtctl

#endif
