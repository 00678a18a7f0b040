#include "tools/vtctl/shared/csv.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/joined.h"
#include "tools/vtctl/shared/printable.h"

namespace vtctl {
namespace {

// Spreadsheets compute what begins like this, and a name is whatever somebody has chosen.
std::wstring NoFormula(const std::wstring& text) {
  const bool isFormula =
      !text.empty() && std::wstring_view(L"=+-@").find(text.front()) != std::wstring_view::npos;
  return isFormula ? L"'" + text : text;
}

std::wstring FieldText(const Json& member) {
  if (member.is_null()) return {};
  if (member.is_string()) return NoFormula(Printable(FromUtf8(member.get<std::string>())));
  if (!member.is_array()) return FromUtf8(member.dump());
  std::vector<std::wstring> texts;
  for (const Json& item : member) texts.push_back(FieldText(item));
  return Joined(texts, L"|");
}

std::wstring CsvLine(std::vector<std::wstring> fields) {
  std::ranges::transform(fields, fields.begin(), CsvField);
  return Joined(fields, L",") + L"\r\n";
}

}  // namespace

std::wstring CsvField(const std::wstring& text) {
  if (text.find_first_of(L"\",\r\n") == std::wstring::npos) return text;
  std::wstring field = L"\"";
  for (const wchar_t unit : text) {
    if (unit == L'"') field += unit;
    field += unit;
  }
  return field + L'"';
}

std::wstring Csv(const Json& columns, const Json& rows) {
  std::vector<std::wstring> names;
  for (const auto& [name, member] : columns.items()) names.push_back(FromUtf8(name));
  std::wstring text = CsvLine(names);
  for (const Json& row : rows) {
    std::vector<std::wstring> fields;
    for (const auto& [name, member] : columns.items()) {
      fields.push_back(row.contains(name) ? FieldText(row[name]) : L"");
    }
    text += CsvLine(std::move(fields));
  }
  return text;
}

}  // namespace vtctl
