#ifndef VTCLASS_CONFIG_MONITORED_VALUES_H
#define VTCLASS_CONFIG_MONITORED_VALUES_H

#include "vtclass/settings_monitor.h"

namespace vtclass::config {

/* The registrations of SettingsMonitor, in its order; each stands for one value. */
enum class Registration : unsigned long {
  createDebugLog,
  koltDebugLevel,
  engineDebugLevel,
  maxDebugFileEnabled,
  maxDebugFileSize,
  maxRetention,
  maxDebugFileCount,
  maxDebugFileLimitMode,
  maxDebugFileAppend,
  vtmCreateDebugLog,
  vtmMaxDebugFileEnabled,
  vtmMaxDebugFileSize,
  vtmMaxDebugFileCount,
  vtmLogPath,
  vtmMaxDebugFileRetentionSize,
  vtmLogLimitMode,
  vtmDebugLevel,
  end
};

/* The value behind a registration, with the key of the product that is selected now.
 * Requires: not `end`. */
MonitoredValue ValueOf(Registration registration) noexcept;

}  // namespace vtclass::config

#endif
