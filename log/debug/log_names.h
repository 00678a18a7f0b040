#ifndef VTCLASS_LOG_DEBUG_LOG_NAMES_H
#define VTCLASS_LOG_DEBUG_LOG_NAMES_H

#include <cstdint>

#include "strings/wide_text.h"

namespace vtclass::log {

/* A file name in two parts: extension with its dot, empty when there is none. */
struct SplitName {
  WideText base;
  WideText extension;
};

/* Splits a path at the last "." of the file's own name. A dot of a folder does not count. */
SplitName SplitAtExtension(WideView path);

/* "C:\trace-2.log": the file with that number of a log that rolls without a size-limit policy. */
WideText RolledName(WideView base, std::uint32_t number, WideView extension);

/* "C:\trace.log.bak1": rotated file `number` of a log. */
WideText RotatedName(WideView liveFile, WideView extension, std::uint32_t number);

/*
 * True when an extension for rotated files leaves them beside the live file: without path
 * separators, drive and stream marks, wildcards and control characters.
 */
bool IsRotationExtension(WideView extension);

}  // namespace vtclass::log

#endif
