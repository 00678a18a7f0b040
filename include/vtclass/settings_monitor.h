#ifndef VTCLASS_SETTINGS_MONITOR_H
#define VTCLASS_SETTINGS_MONITOR_H

#include <vtclass/win32.h>

#include "vtclass/export.h"
#include "vtclass/strings.h"

class Setting;

class VTCLASS_API SettingsMonitor {
 public:
  using NumberCallback = long (*)(unsigned long value, void* context);
  using TextCallback = long (*)(const wchar_t* value, void* context);

  static SettingsMonitor* GetInstance();
  static void DestroyInstance();

  virtual long Start();
  virtual long Stop();

  const void* RegisterSetting(Setting* setting);
  long UnRegisterSetting(const void* cookie);
  long RemoveAllSettings();

  const void* RegisterCreateDebugLog(NumberCallback callback, void* context);
  const void* KoltRegisterDebugLevel(NumberCallback callback, void* context);
  const void* EngineRegisterDebugLevel(NumberCallback callback, void* context);
  const void* RegisterMaxDebugFileEnabled(NumberCallback callback, void* context);
  const void* RegisterMaxDebugFileSize(NumberCallback callback, void* context);
  const void* RegisterMaxRetention(NumberCallback callback, void* context);
  const void* RegisterMaxDebugFileCount(NumberCallback callback, void* context);
  const void* RegisterMaxDebugFileLimitMode(NumberCallback callback, void* context);
  const void* RegisterMaxDebugFileAppend(NumberCallback callback, void* context);
  const void* VtmRegisterCreateDebugLog(NumberCallback callback, void* context);
  const void* VtmRegisterMaxDebugFileEnabled(NumberCallback callback, void* context);
  const void* VtmRegisterMaxDebugFileSize(NumberCallback callback, void* context);
  const void* VtmRegisterMaxDebugFileCount(NumberCallback callback, void* context);
  const void* VtmRegisterMaxDebugFileRetentionSize(NumberCallback callback, void* context);
  const void* VtmRegisterLogLimitMode(NumberCallback callback, void* context);
  const void* VtmRegisterDebugLevel(NumberCallback callback, void* context);
  const void* VtmRegisterLogPath(TextCallback callback, void* context);

 protected:
  virtual ~SettingsMonitor();
};

#endif
