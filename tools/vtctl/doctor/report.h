#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_REPORT_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_REPORT_H

#include <cstddef>
#include <string>
#include <vector>

#include "tools/vtctl/doctor/run_check.h"
#include "tools/vtctl/shared/json.h"

/* Results as people and scripts read them; pure. */
namespace vtctl::doctor {

/* Who asked, where and when. */
struct Header {
  std::wstring time; /* ISO 8601 */
  std::wstring computer;
  std::wstring account;
  std::wstring root; /* the product's, in full */
};

std::wstring Text(const Header& header, std::size_t columns);

/* One check over several lines of fewer than so many columns; only a word that is longer itself
 * goes beyond. Colours as the terminal takes them. */
std::wstring Text(const CheckResult& result, std::size_t columns, bool colours);

/* All that was looked at. */
struct Report {
  std::vector<CheckResult> results;
  /* The checks that did not come to their end because the operator interrupted: the one that ran
   * then, which is among the results, and all behind it, which are not. */
  std::vector<std::wstring> interrupted;
};

/* "1 problem, 2 warnings, 1 note, 14 ok.", and what was interrupted. */
std::wstring Summary(const Report& report);

/* The worst of all. */
Verdict Worst(const std::vector<CheckResult>& results);

Json ToJson(const Header& header, const Report& report);

}  // namespace vtctl::doctor

#endif
