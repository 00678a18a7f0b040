#ifndef VTCLASS_JOBLOG_CSV_VIEW_H
#define VTCLASS_JOBLOG_CSV_VIEW_H

#include <string>

#include "joblog/json_view.h"
#include "joblog/log_event.h"

namespace vtclass::joblog {

/* The names of the columns, as a line with its line end (RFC 4180). */
std::string CsvHeader();

/* An entry as a line. Control characters are made visible, and what a spreadsheet would compute
 * stands behind an apostrophe: anybody may have chosen a name. */
std::string CsvLine(const Event& entry, const Place& place);

}  // namespace vtclass::joblog

#endif
