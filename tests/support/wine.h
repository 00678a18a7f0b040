#ifndef VTCLASS_TESTS_SUPPORT_WINE_H
#define VTCLASS_TESTS_SUPPORT_WINE_H

#include <string>

namespace vtclass::test {

/* True under Wine. For GTEST_SKIP only: a test says what it cannot see there, and why. */
bool RunsUnderWine();

/* "5 (Access denied.)": a platform status with the platform's own words, for failure messages. */
std::string Status(long code);

}  // namespace vtclass::test

/* Skips the rest of a test under Wine; `reason` is what Wine does otherwise. */
#define VTCLASS_SKIP_UNDER_WINE(reason) \
  if (vtclass::test::RunsUnderWine()) GTEST_SKIP() << "under Wine: " << reason

#endif
