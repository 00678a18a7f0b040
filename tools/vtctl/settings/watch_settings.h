#ifndef VTCLASS_TOOLS_VTCTL_SETTINGS_WATCH_SETTINGS_H
#define VTCLASS_TOOLS_VTCTL_SETTINGS_WATCH_SETTINGS_H

#include <vtclass/win32.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tools/vtctl/settings/monitored.h"
#include "tools/vtctl/shared/wait.h"

namespace vtctl {

/* Called for each change with the value before (nothing when none was stored) and the new one. */
using SettingChanged =
    std::function<void(const MonitoredSetting& setting, const std::optional<std::wstring>& before,
                       const std::wstring& now)>;

/*
 * Follows `settings` through the settings monitor, as the product's components do, until the
 * operator interrupts or the seconds (0: no limit) are over. `ready` is called once changes are
 * followed. Both functions run on the calling thread. Nothing when the monitor could not take the
 * settings.
 */
std::optional<WaitEnd> WatchSettings(const std::vector<MonitoredSetting>& settings,
                                     unsigned seconds, const std::function<void()>& ready,
                                     const SettingChanged& changed);

}  // namespace vtctl

#endif
