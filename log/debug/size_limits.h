#ifndef VTCLASS_LOG_DEBUG_SIZE_LIMITS_H
#define VTCLASS_LOG_DEBUG_SIZE_LIMITS_H

#include <cstdint>

#include "config/registry_values.h"
#include "strings/wide_text.h"

namespace vtclass::log {

/* What a log does when its file has become too large. */
enum class LimitMode {
  simpleRoll, /* goes on in a further file every 20 MB */
  rename,     /* moves the file to the rotated ones */
  wrap        /* moves the file's newest part to its front */
};

/* The values of the logging key, as they are stored; where one is missing, its default. */
struct SizeSettings {
  std::uint32_t enabled = config::kMaxDebugFileEnabled.number;
  std::uint32_t sizeMB = config::kMaxDebugFileSize.number;
  std::uint32_t retentionMB = config::kMaxDebugFileRetentionSize.number;
  std::uint32_t count = config::kMaxDebugFileCount.number;
  std::uint32_t limitMode = config::kMaxDebugFileLimitMode.number;
  std::uint32_t message = config::kMaxDebugFileMsg.number;
  std::uint32_t append = config::kMaxDebugFileAppend.number;
  WideText extension = config::kMaxDebugFileExt.text;
};

/* What they come to. */
struct SizeLimits {
  LimitMode mode = LimitMode::simpleRoll;
  std::uint64_t maximum = 0;   /* bytes */
  std::uint64_t retention = 0; /* bytes */
  std::uint32_t count = 0;     /* rotated files */
  WideText extension;
  bool message = false;

  bool operator==(const SizeLimits&) const = default;

  /* The size from which on the file is too large. */
  std::uint64_t Threshold() const;
};

/* The size at which a log without limits of its own rolls. */
inline constexpr std::uint64_t kSimpleRollSize = 0x1400000;

/*
 * The limits that the settings ask for. A size of 0 or 0xFFFFFFFF, or one that is not above the
 * retention size, gives 4 MB and 1 MB. False when the settings cannot be used: a count beyond 1 to
 * 200, or an extension that would lead to another folder; `*limits` is then the simple roll.
 */
bool LimitsFrom(const SizeSettings& settings, SizeLimits* limits);

}  // namespace vtclass::log

#endif
