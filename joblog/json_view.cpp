#include "joblog/json_view.h"

#include <cstddef>
#include <string_view>

#include <nlohmann/json.hpp>

#include "joblog/element_names.h"
#include "joblog/summary_text.h"

namespace vtclass::joblog {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kKinds[] = {"document", "set", "section", "folder", "entry", "damage", "end"};
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

// What goes wrong is told by the same members everywhere, and none of them is missing.
void AddFinding(Json& json, const Event& entry, const std::string& path,
                const std::optional<std::uint32_t>& status) {
  json["code"] = entry.code.empty() ? Json() : Json(entry.code);
  json["path"] = path.empty() ? Json() : Json(path);
  json["status"] = status ? Json(*status) : Json();
}

Json TimeOrNull(const std::optional<LogTime>& time) { return time ? Json(IsoText(*time)) : Json(); }

void AddEntry(Json& json, const Event& entry, const std::string& path) {
  json["severity"] = SeverityWord(entry.severity);
  if (entry.severity >= Severity::kWarning) {
    AddFinding(json, entry, path, StatusIn(entry));
  } else {
    AddText(json, "code", entry.code);
    AddText(json, "path", path);
  }
  if (const auto time = TimeIn(entry.text)) json["time"] = IsoText(*time);
}

Json ToJson(const Cause& cause) {
  Json json = {{"severity", SeverityWord(cause.severity)},
               {"skipped", cause.isSkipped},
               {"count", cause.count},
               {"label", CauseLabel(cause)}};
  AddFinding(json, cause.first, cause.path, cause.status);
  AddText(json, "type", cause.type);
  AddText(json, "element", cause.element);
  json["text"] = cause.first.text;
  json["document"] = cause.first.document;
  json["offset"] = cause.first.at.offset;
  return json;
}

Json ToJson(const Gap& gap) {
  return {{"milliseconds", gap.Seconds() * 1000},
          {"from", IsoText(gap.from)},
          {"to", IsoText(gap.to)},
          {"before", gap.before},
          {"after", gap.after},
          {"document", gap.at.document},
          {"offset", gap.at.at.offset}};
}

Json ToJson(const Job& job) {
  return {{"file", job.file},
          {"document", job.document},
          {"verdict", OutcomeName(job.tally.Result())},
          {"errors", job.tally.errors},
          {"warnings", job.tally.warnings},
          {"skipped", job.tally.skipped},
          {"closed", job.tally.lastIsClosed},
          {"started", TimeOrNull(job.started)},
          {"ended", TimeOrNull(job.ended)},
          {"name", job.name},
          {"server", job.server},
          {"completion", job.status}};
}

std::string Change(const char* change, const Finding& finding) {
  const Event& entry = finding.entry;
  Json json = {{"kind", "change"}, {"change", change}};
  json["severity"] = SeverityWord(entry.severity);
  AddFinding(json, entry, finding.path, StatusIn(entry));
  AddText(json, "type", entry.type);
  json["text"] = entry.text;
  json["document"] = entry.document;
  json["offset"] = entry.at.offset;
  return Dump(json);
}

}  // namespace

std::string JsonLine(const Event& event, const Place& place) {
  Json json;
  json["kind"] = Name(kKinds, event.kind);
  json["document"] = event.document;
  json["offset"] = event.at.offset;
  json["line"] = event.at.line;
  json["column"] = event.at.column;
  json["depth"] = event.depth;
  if (event.kind == EventKind::kDocument) {
    AddText(json, "file", place.file);
    json["encoding"] = event.encoding == Encoding::kUtf16 ? "UTF-16" : "windows-1252";
    json["beginning"] = Name(kBeginnings, event.beginning);
  }
  if (event.kind == EventKind::kSet) json["number"] = event.number;
  if (event.kind == EventKind::kEntry) AddEntry(json, event, place.path);
  if (event.kind == EventKind::kDocumentEnd) json["closed"] = event.closed;
  AddText(json, "element", event.element);
  if (!event.element.empty()) json["label"] = Label(event.element);
  AddText(json, "type", event.type);
  AddText(json, "detail", event.detail);
  AddText(json, TextKey(event.kind), event.text);
  if (event.continued) json["continued"] = true;
  if (event.partial) json["partial"] = true;
  return Dump(json);
}

std::string JsonSummary(const Summary& summary, std::optional<bool> isOpen) {
  const Tally& tally = summary.Total();
  Json json;
  json["kind"] = "summary";
  json["verdict"] = OutcomeName(summary.Result());
  json["documents"] = tally.documents;
  json["sets"] = tally.sets;
  json["folders"] = tally.folders;
  json["entries"] = tally.entries;
  json["errors"] = tally.errors;
  json["warnings"] = tally.warnings;
  json["recommendations"] = tally.recommendations;
  json["skipped"] = tally.skipped;
  json["damages"] = tally.damages;
  json["cutOff"] = tally.cutOff;
  json["wrapped"] = tally.wrapped;
  json["entriesLeftOut"] = tally.leftOut;
  json["jobsLeftOut"] = tally.leftOutJobs;
  json["worst"] = SeverityWord(tally.Worst());
  json["closed"] = tally.lastIsClosed;
  json["stillOpen"] = isOpen ? Json(*isOpen) : Json();
  json["reasons"] = Json::array();
  const auto [causes, further] = summary.Causes();
  for (const Cause& cause : causes) json["reasons"].push_back(ToJson(cause));
  json["furtherReasons"] = further;
  json["gaps"] = Json::array();
  for (const Gap& gap : summary.Gaps()) json["gaps"].push_back(ToJson(gap));
  json["jobs"] = Json::array();
  for (const Job& job : summary.Jobs()) json["jobs"].push_back(ToJson(job));
  json["furtherJobs"] = summary.FurtherJobs();
  return Dump(json);
}

std::string JsonComparison(const Comparison& comparison, const Tally& before, const Tally& now) {
  std::string lines;
  for (const Finding& finding : comparison.fresh) lines += Change("new", finding);
  for (const Finding& finding : comparison.gone) lines += Change("gone", finding);
  return lines + Dump({{"kind", "diff"},
                       {"new", comparison.fresh.size()},
                       {"gone", comparison.gone.size()},
                       {"same", comparison.same},
                       {"closed", now.documents == 0 || now.lastIsClosed},
                       {"whole", before.IsWhole() && now.IsWhole()}});
}

}  // namespace vtclass::joblog
