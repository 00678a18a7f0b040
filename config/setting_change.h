#ifndef VTCLASS_CONFIG_SETTING_CHANGE_H
#define VTCLASS_CONFIG_SETTING_CHANGE_H

#include "vtclass/settings_monitor.h"

namespace vtclass::config {

/*
 * A changed value on its way to its subscriber. It holds copies: the callback may remove its own
 * setting, and nothing of the setting is read after the callback has begun.
 */
struct SettingChange {
  Setting::NumberCallback numberCallback = nullptr;
  Setting::TextCallback textCallback = nullptr;
  Setting::NumberRunner numberRunner = nullptr;
  Setting::TextRunner textRunner = nullptr;
  void* context = nullptr;
  unsigned long number = 0;
  wcstring text;

  bool IsThere() const noexcept { return numberCallback || textCallback; }

  /* Calls the subscriber, if there is one. Returns what it returned; E_FAIL when it threw. */
  long Deliver() const noexcept;
};

}  // namespace vtclass::config

#endif
