#ifndef VTCLASS_TOOLS_VTCTL_SHARED_CSV_H
#define VTCLASS_TOOLS_VTCTL_SHARED_CSV_H

#include <string>

#include "tools/vtctl/shared/json.h"

namespace vtctl {

/*
 * JSON objects that have members alike as a table for spreadsheets, as RFC 4180 has it: the names
 * of `columns`, an object as they are, then a line a row. null is an empty field, a list has "|"
 * between its items, and a text that a spreadsheet would compute gets an apostrophe in front.
 * Controls are made visible.
 */
std::wstring Csv(const Json& columns, const Json& rows);

/* A field of it: in quotation marks where it holds what separates fields. */
std::wstring CsvField(const std::wstring& text);

}  // namespace vtctl

#endif
