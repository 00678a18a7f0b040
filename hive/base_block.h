#ifndef VTCLASS_HIVE_BASE_BLOCK_H
#define VTCLASS_HIVE_BASE_BLOCK_H

#include <cstdint>
#include <optional>

#include "hive/bytes.h"
#include "hive/problem.h"

namespace vtclass::hive {

enum class FileKind {
  hive,
  wineText, /* a registry in the text that Wine saves; Windows cannot restore it */
  empty,    /* no byte at all: a save that did not come to write */
  other
};

/* What the first bytes say. */
FileKind KindOf(Bytes file);

/* The first page of a hive. */
struct BaseBlock {
  std::uint32_t minorVersion = 0; /* of version 1: 3 to 6 */
  std::uint64_t lastWritten = 0;  /* 100-nanosecond ticks since 1601, UTC */
  std::uint32_t rootCell = kNoCell;
  Bytes bins; /* whole pages, no more of them than the file has */
};

/* The XOR of the block's first 127 numbers; 0 and 0xFFFFFFFF are stored as 1 and 0xFFFFFFFE.
 * Requires: 508 bytes. */
std::uint32_t ChecksumOf(Bytes file);

/* Nothing when the rest of the file cannot be read by what it says; each problem is reported. */
std::optional<BaseBlock> ReadBaseBlock(Bytes file, const ReportProblem& report);

}  // namespace vtclass::hive

#endif
