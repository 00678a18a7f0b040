#include "joblog/csv_view.h"

#include <string_view>

#include "joblog/element_names.h"
#include "joblog/utf8.h"

namespace vtclass::joblog {
namespace {

// As in JSON.
constexpr std::string_view kColumns[] = {"file",     "document", "line",   "column", "offset",
                                         "severity", "code",     "path",   "status", "time",
                                         "element",  "type",     "detail", "text",   "continued"};

// With the comma behind it.
void AppendField(std::string_view value, std::string& line) {
  std::string text;
  AppendPrintable(value, "\n", text);
  if (!text.empty() && std::string_view("=+-@\t").find(text.front()) != std::string_view::npos) {
    text.insert(0, 1, '\'');
  }
  if (text.find_first_of("\",\n") == std::string::npos) {
    line += text + ',';
    return;
  }
  line += '"';
  for (const char letter : text) {
    if (letter == '"') line += letter;
    line += letter;
  }
  line += "\",";
}

// The line without the last comma, and with its end.
std::string Ended(std::string line) {
  line.pop_back();
  return line + "\r\n";
}

}  // namespace

std::string CsvHeader() {
  std::string line;
  for (const std::string_view column : kColumns) AppendField(column, line);
  return Ended(line);
}

std::string CsvLine(const Event& entry, const Place& place) {
  const auto status = StatusIn(entry);
  const auto time = TimeIn(entry.text);
  std::string line;
  for (const std::string& field :
       {place.file, std::to_string(entry.document), std::to_string(entry.at.line),
        std::to_string(entry.at.column), std::to_string(entry.at.offset),
        std::string(SeverityWord(entry.severity)), entry.code, place.path,
        status ? std::to_string(*status) : std::string(), time ? IsoText(*time) : std::string(),
        entry.element, entry.type, entry.detail, entry.text,
        std::string(entry.continued ? "true" : "false")}) {
    AppendField(field, line);
  }
  return Ended(line);
}

}  // namespace vtclass::joblog
