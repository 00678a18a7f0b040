#include "config/monitored_values.h"

#include "config/product_keys.h"

namespace vtclass::config {

namespace {

struct Row {
  const wchar_t* (*key)() noexcept;
  const wchar_t* name;
  Setting::eKind kind;
  unsigned long maximum; /* every minimum is 0 */
};

// In the order of Registration. "CreateDebugLog" takes any number while its counterpart in the
// debug key is a Bool; callers of each count on the kind it has.
constexpr Row kRows[] = {
    {&LoggingKey, L"CreateDebugLog", Setting::dwordKind, 0},
    {&LoggingKey, L"KNTA NDMP Debug Level", Setting::rangeKind, 2},
    {&LoggingKey, L"Engine NDMP Debug Level", Setting::rangeKind, 2},
    {&LoggingKey, L"MaxDebugFile Enabled", Setting::boolKind, 1},
    {&LoggingKey, L"MaxDebugFile Size In MB", Setting::dwordKind, 0},
    {&LoggingKey, L"MaxDebugFile Retention Size In MB", Setting::dwordKind, 0},
    {&LoggingKey, L"MaxDebugFile Count", Setting::dwordKind, 0},
    {&LoggingKey, L"MaxDebugFile LimitMode", Setting::dwordKind, 0},
    {&LoggingKey, L"MaxDebugFile Append", Setting::boolKind, 1},
    {&DebugKey, L"VTMSDKLog", Setting::boolKind, 1},
    {&DebugKey, L"MaxDebugFile Enabled", Setting::boolKind, 1},
    {&DebugKey, L"MaxDebugFile Size In MB", Setting::dwordKind, 0},
    {&DebugKey, L"MaxDebugFile Count", Setting::dwordKind, 0},
    {&DebugKey, L"Path", Setting::stringKind, 0},
    {&DebugKey, L"MaxDebugFile Retention Size In MB", Setting::dwordKind, 0},
    {&DebugKey, L"MaxDebugFile LimitMode", Setting::dwordKind, 0},
    // The default product's key whatever product is selected: see the contract in the header.
    {&DefaultProductDebugKey, L"VTMSDKLevel", Setting::sdkDebugLevelKind, 0},
};
static_assert(sizeof(kRows) / sizeof(kRows[0]) == static_cast<unsigned long>(Registration::end));

}  // namespace

MonitoredValue ValueOf(Registration registration) noexcept {
  const Row& row = kRows[static_cast<unsigned long>(registration)];
  return {row.key(), row.name, row.kind, 0, row.maximum};
}

}  // namespace vtclass::config
