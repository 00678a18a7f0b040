#include "log/debug/size_limits.h"

#include "log/debug/log_names.h"

namespace vtclass::log {

using config::kMaxDebugFileCount;
using config::kMaxDebugFileRetentionSize;
using config::kMaxDebugFileSize;

namespace {

constexpr std::uint64_t kMegabyte = 0x100000;
constexpr std::uint32_t kUnlimited = 0xFFFFFFFF;
constexpr std::uint32_t kWrap = 1;

}  // namespace

std::uint64_t SizeLimits::Threshold() const {
  switch (mode) {
    case LimitMode::rename:
      return maximum / count;
    case LimitMode::wrap:
      return maximum;
    default:
      return kSimpleRollSize;
  }
}

bool LimitsFrom(const SizeSettings& settings, SizeLimits* limits) {
  *limits = {};
  if (settings.enabled == 0) return true;
  const bool renames = settings.limitMode != kWrap;
  // A wrapped log has one file: neither count nor extension says anything about it.
  if (renames &&
      (settings.count < kMaxDebugFileCount.minimum || settings.count > kMaxDebugFileCount.maximum ||
       !IsRotationExtension(settings.extension))) {
    return false;
  }
  const bool usable = settings.sizeMB != 0 && settings.sizeMB != kUnlimited &&
                      settings.sizeMB > settings.retentionMB;
  limits->mode = renames ? LimitMode::rename : LimitMode::wrap;
  limits->maximum = (usable ? settings.sizeMB : kMaxDebugFileSize.number) * kMegabyte;
  limits->retention =
      (usable ? settings.retentionMB : kMaxDebugFileRetentionSize.number) * kMegabyte;
  limits->count = renames ? settings.count : 0;
  if (renames) limits->extension = settings.extension;
  limits->message = settings.message == 1;
  return true;
}

}  // namespace vtclass::log
