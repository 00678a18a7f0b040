#include "joblog/json_view.h"

#include <cstddef>
#include <string_view>

#include <nlohmann/json.hpp>

#include "joblog/element_names.h"

namespace vtclass::joblog {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kKinds[] = {"document", "set", "section", "folder", "entry", "damage", "end"};
constexpr const char* kSeverities[] = {"info", "recommendation", "warning", "error"};
constexpr const char* kBeginnings[] = {"whole", "wrapped", "no-header"};

template <typename Enumeration, std::size_t Count>
const char* Name(const char* const (&names)[Count], Enumeration value) {
  return names[static_cast<std::size_t>(value)];
}

std::string Dump(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

void AddText(Json& json, const char* key, const std::string& text) {
  if (!text.empty()) json[key] = text;
}

// What text stands for differs by kind.
const char* TextKey(EventKind kind) {
  switch (kind) {
    case EventKind::kDocument:
      return "version";
    case EventKind::kFolder:
      return "path";
    case EventKind::kDocumentEnd:
      return "cut";
    default:
      return "text";
  }
}

}  // namespace

std::string JsonLine(const Event& event) {
  Json json;
  json["kind"] = Name(kKinds, event.kind);
  json["document"] = event.document;
  json["offset"] = event.at.offset;
  json["line"] = event.at.line;
  json["column"] = event.at.column;
  json["depth"] = event.depth;
  if (event.kind == EventKind::kDocument) {
    json["encoding"] = event.encoding == Encoding::kUtf16 ? "UTF-16" : "windows-1252";
    json["beginning"] = Name(kBeginnings, event.beginning);
  }
  if (event.kind == EventKind::kSet) json["number"] = event.number;
  if (event.kind == EventKind::kEntry) json["severity"] = Name(kSeverities, event.severity);
  if (event.kind == EventKind::kDocumentEnd) json["closed"] = event.closed;
  AddText(json, "element", event.element);
  if (!event.element.empty()) json["label"] = Label(event.element);
  AddText(json, "type", event.type);
  AddText(json, "detail", event.detail);
  AddText(json, "code", event.code);
  AddText(json, TextKey(event.kind), event.text);
  if (event.continued) json["continued"] = true;
  if (event.partial) json["partial"] = true;
  return Dump(json);
}

std::string JsonSummary(const Tally& tally, std::optional<bool> isOpen) {
  Json json;
  json["kind"] = "summary";
  json["documents"] = tally.documents;
  json["sets"] = tally.sets;
  json["folders"] = tally.folders;
  json["entries"] = tally.entries;
  json["errors"] = tally.errors;
  json["warnings"] = tally.warnings;
  json["recommendations"] = tally.recommendations;
  json["damages"] = tally.damages;
  json["cutOff"] = tally.cutOff;
  json["worst"] = Name(kSeverities, tally.Worst());
  json["closed"] = tally.lastIsClosed;
  json["stillOpen"] = isOpen ? Json(*isOpen) : Json();
  return Dump(json);
}

}  // namespace vtclass::joblog
