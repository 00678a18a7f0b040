#ifndef VTCLASS_JOBLOG_SUMMARY_TEXT_H
#define VTCLASS_JOBLOG_SUMMARY_TEXT_H

#include <cstdint>
#include <optional>
#include <string>

#include "joblog/summary.h"

namespace vtclass::joblog {

/* 1234567 as "1,234,567" */
std::string GroupedNumber(std::uint64_t number);
/* "1 error", "1,234 errors" */
std::string Counted(std::uint64_t count, const std::string& what);
/* "2:03:04" */
std::string DurationText(std::int64_t seconds);

/* "3 errors, 57 items skipped", "No errors and no warnings": what a log comes to, in a sentence
 * without its full stop. */
std::string Headline(const Tally& tally);
/* For scripts: "clean", "partial", "skipped", "damaged", "warnings", "errors", "unfinished". */
const char* OutcomeName(Outcome outcome);
/* "error", "warning", "recommendation" or "skipped". */
const char* CauseKind(const Cause& cause);

/* The whole picture for people: the verdict first, then totals, reasons, jobs and where the time
 * went. */
std::string SummaryText(const Summary& summary, std::optional<bool> isOpen, bool withColour);

}  // namespace vtclass::joblog

#endif
