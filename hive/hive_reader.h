#ifndef VTCLASS_HIVE_HIVE_READER_H
#define VTCLASS_HIVE_HIVE_READER_H

#include <cstddef>
#include <cstdint>

#include "hive/base_block.h"
#include "hive/bytes.h"
#include "hive/problem.h"
#include "hive/stored_data.h"

/*
 * The file that the system saves a registry key to. Reading trusts nothing in it: every offset is
 * looked at before it is followed, what is wrong is told and passed over, and the time and memory
 * taken are in proportion to the file.
 */
namespace vtclass::hive {

/* The registry's own limits. */
inline constexpr std::size_t kDeepestKey = 512;
inline constexpr std::size_t kLongestKeyName = 255;
inline constexpr std::size_t kLongestValueName = 16383;

struct Key {
  WideView path;         /* below the hive's first key, which has the empty one */
  std::size_t depth = 0; /* 0 for the first key */
  StoredName name;
  bool isLink = false;
};

struct StoredValue {
  StoredName name; /* empty for the key's default value */
  std::uint32_t type = 0;
  StoredData data;
};

/* Is told what a hive holds. Keys come before their values, and before the keys below them; all
 * below a key comes before the next one beside it. Answers false to end the reading. What a name
 * and data stand for is valid as long as the file's bytes; a path only during the call. */
class HiveVisitor {
 public:
  virtual ~HiveVisitor() = default;
  virtual bool OnKey(const Key& key) = 0;
  virtual bool OnValue(const StoredValue& value) = 0;
};

/* What was read in all. */
struct HiveSummary {
  std::uint32_t minorVersion = 0; /* 0 when the file is no hive that can be read */
  std::uint64_t lastWritten = 0;  /* 100-nanosecond ticks since 1601, UTC */
  std::size_t keys = 0;           /* the first one counts */
  std::size_t values = 0;
  std::uint64_t dataBytes = 0;
  std::size_t deepest = 0;
  std::size_t warnings = 0;
  std::size_t errors = 0;
  bool isWhole = false; /* the reading came to its end: nobody stopped it */
};

/*
 * Reads all of a hive. The bytes must not change meanwhile. Problems are reported as they are
 * found, those of the file as a whole first.
 */
HiveSummary ReadHive(Bytes file, HiveVisitor& visitor, const ReportProblem& report);

}  // namespace vtclass::hive

#endif
