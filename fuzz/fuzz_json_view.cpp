#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "fuzz/fuzz_input.h"
#include "joblog/json_view.h"

using namespace vtclass::joblog;
using vtclass::fuzz::Check;
using Json = nlohmann::json;

static bool IsUtf8(const std::string& text) {
  try {
    return !Json(text).dump().empty();
  } catch (const Json::type_error&) {
    return false;
  }
}

// What is empty is left out, and text that is UTF-8 comes back as it was.
static void CheckText(const Json& line, const char* key, const std::string& text) {
  Check(line.contains(key) != text.empty());
  if (!text.empty() && IsUtf8(text)) Check(line[key] == text);
}

// Any event becomes one line that an independent reader takes, with all that the event tells.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vtclass::fuzz::Input input(data, size);
  Event event;
  const std::size_t number = input.Number();
  event.kind = static_cast<EventKind>(number % 7);
  event.severity = static_cast<Severity>(number / 7 % 4);
  event.beginning = static_cast<Beginning>(number / 28 % 3);
  event.closed = number / 84 % 2 == 1;
  event.at = {number, input.Number(), input.Number()};
  event.depth = input.Number();
  std::string* const texts[] = {&event.element, &event.type, &event.detail, &event.code,
                                &event.text};
  std::string_view rest = input.Bytes();
  for (std::string* text : texts) {
    const std::string_view part = rest.substr(0, rest.find('|'));
    *text = part;
    rest.remove_prefix(std::min(rest.size(), part.size() + 1));
  }
  const std::string written = JsonLine(event, {});
  Check(written.find('\n') == written.size() - 1);
  const Json line = Json::parse(written);
  Check(line["offset"] == event.at.offset && line["depth"] == event.depth);
  Check(line["line"] == event.at.line && line["column"] == event.at.column);
  const char* const textKeys[] = {"version", "text", "text", "path", "text", "text", "cut"};
  CheckText(line, textKeys[number % 7], event.text);
  CheckText(line, "element", event.element);
  CheckText(line, "type", event.type);
  CheckText(line, "detail", event.detail);
  // Entries alone have codes, and a finding has its members always.
  const bool isEntry = event.kind == EventKind::kEntry;
  const bool isFinding = isEntry && event.severity >= Severity::kWarning;
  if (isFinding && event.code.empty()) {
    Check(line["code"].is_null());
  } else {
    CheckText(line, "code", isEntry ? event.code : "");
  }
  Check(line.contains("status") == isFinding);
  return 0;
}
