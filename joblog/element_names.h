#ifndef VTCLASS_JOBLOG_ELEMENT_NAMES_H
#define VTCLASS_JOBLOG_ELEMENT_NAMES_H

#include <string>
#include <string_view>

#include "joblog/log_event.h"

namespace vtclass::joblog {

inline constexpr std::u16string_view kJobLogElement = u"joblog";
inline constexpr std::u16string_view kVersionElement = u"job_log_version";
inline constexpr std::u16string_view kFolderNameElement = u"directory_name";
inline constexpr std::u16string_view kCodeElement = u"UMI";
inline constexpr std::u16string_view kSetElement = u"set";
/* In a log without set elements this begins a set. */
inline constexpr std::u16string_view kSetNumberElement = u"set_number";
inline constexpr std::string_view kJobStartElement = "job_started";

Severity SeverityOf(std::u16string_view element);

/* True when a name is one that job logs use: a structural one, or words joined by underscores. It
 * tells a log that lost its beginning from other text with tags. */
bool IsJobLogName(std::u16string_view element);

/* A name as people read it: "backed_up_dirs_files" becomes "Backed up dirs files". */
std::string Label(std::string_view element);

/* "Error", "Warning", ... */
std::string_view SeverityName(Severity severity);
/* The same for programs: "error", "warning", ... */
std::string_view SeverityWord(Severity severity);

/* True when an entry needs its element's label to be understood: "None" does in <compression>,
 * "Compression: None" does not. */
bool NeedsLabel(const Event& entry);

}  // namespace vtclass::joblog

#endif
