#include "tools/vtctl/shared/limit_remarks.h"

#include "log/debug/log_names.h"
#include "vtclass/config.h"

namespace vtctl {
namespace {

using namespace vtclass::config;
using vtclass::log::LimitMode;
using vtclass::log::SizeLimits;
using vtclass::log::SizeSettings;

std::wstring Is(const RegistryValue& value, const std::wstring& stored) {
  return L"\"" + std::wstring(value.name) + L"\" is " + stored;
}

}  // namespace

std::vector<LimitRemark> RemarksOn(const SizeSettings& stored) {
  std::vector<LimitRemark> remarks;
  SizeLimits limits;
  if (!vtclass::log::LimitsFrom(stored, &limits)) {
    constexpr const wchar_t* kOff =
        L": it switches the limits off, and a log goes on in a further file every 20 MB.";
    const bool isCount = vtclass::log::IsRotationExtension(stored.extension);
    if (isCount) {
      remarks.push_back({&kMaxDebugFileCount,
                         Is(kMaxDebugFileCount, std::to_wstring(stored.count)) +
                             L", out of its range " + std::to_wstring(kMaxDebugFileCount.minimum) +
                             L" to " + std::to_wstring(kMaxDebugFileCount.maximum) + kOff});
    } else {
      remarks.push_back(
          {&kMaxDebugFileExt, Is(kMaxDebugFileExt, L"\"" + std::wstring(stored.extension) +
                                                       L"\", which no file name can have") +
                                  kOff});
    }
    return remarks;
  }
  if (!CountSizesByDefault(stored)) return remarks;
  const bool isNone = stored.sizeMB == 0 || stored.sizeMB == UINT32_MAX;
  remarks.push_back(
      {&kMaxDebugFileSize,
       Is(kMaxDebugFileSize, std::to_wstring(stored.sizeMB)) +
           (isNone ? L", which is no size"
                   : L", not above the retention size of " + std::to_wstring(stored.retentionMB)) +
           L": a size of " + std::to_wstring(kMaxDebugFileSize.number) +
           L" with a retention size of " + std::to_wstring(kMaxDebugFileRetentionSize.number) +
           L" counts."});
  return remarks;
}

bool CountSizesByDefault(const SizeSettings& stored) {
  SizeLimits limits;
  if (!vtclass::log::LimitsFrom(stored, &limits) || limits.mode == LimitMode::simpleRoll) {
    return false;
  }
  return limits.maximum != std::uint64_t{stored.sizeMB} << 20 ||
         limits.retention != std::uint64_t{stored.retentionMB} << 20;
}

SizeSettings ReadSizeSettings() {
  SizeSettings settings;
  Configuration key;
  if (!key.Open(Configuration::openExisting, kLoggingKey.Path(), nullptr,
                Configuration::accessRead)) {
    return settings;
  }
  const auto load = [&key](const RegistryValue& value, std::uint32_t& to) {
    unsigned long number = 0;
    if (key.LoadDWORD(value.name, number)) to = number;
  };
  load(kMaxDebugFileEnabled, settings.enabled);
  load(kMaxDebugFileSize, settings.sizeMB);
  load(kMaxDebugFileRetentionSize, settings.retentionMB);
  load(kMaxDebugFileCount, settings.count);
  load(kMaxDebugFileLimitMode, settings.limitMode);
  wcstring extension;
  if (key.Load(kMaxDebugFileExt.name, extension)) settings.extension = extension;
  return settings;
}

}  // namespace vtctl
