#ifndef VTCLASS_CLIENT_SETTINGS_MONITOR_H
#define VTCLASS_CLIENT_SETTINGS_MONITOR_H

/* What vtclass/settings_monitor.h compiles into its callers: texts are filled, exceptions thrown,
 * and callbacks called on the caller's side. Included by that header. */

inline long Setting::CallNumber(NumberCallback callback, unsigned long value,
                                void* context) noexcept {
  long result = E_FAIL;
  vtclass::border::Contained([&] { result = callback(value, context); });
  return result;
}

inline long Setting::CallText(TextCallback callback, const wchar_t* value, void* context) noexcept {
  long result = E_FAIL;
  vtclass::border::Contained([&] { result = callback(value, context); });
  return result;
}

inline Setting::Setting(HKEY root, const wchar_t* subkey, const wchar_t* valueName, eKind kind,
                        unsigned long minimum, unsigned long maximum)
    : Setting(std::nothrow, root, subkey, valueName, kind, minimum, maximum) {
  if (!made) throw std::bad_alloc();
}

inline long Setting::AttachNumber(NumberCallback callback, void* callbackContext) {
  return Attach(callback, callbackContext, &CallNumber);
}

inline long Setting::AttachText(TextCallback callback, void* callbackContext) {
  return Attach(callback, callbackContext, &CallText);
}

inline long Setting::GetText(wcstring& value) const { return CopyText(value); }

inline SettingsMonitor::SettingsMonitor() : SettingsMonitor(std::nothrow) {
  vtclass::border::NotNull(state);
}

inline const void* SettingsMonitor::RegisterCreateDebugLog(NumberCallback callback, void* context) {
  return Register(createDebugLog, callback, context);
}

inline const void* SettingsMonitor::KoltRegisterDebugLevel(NumberCallback callback, void* context) {
  return Register(koltDebugLevel, callback, context);
}

inline const void* SettingsMonitor::EngineRegisterDebugLevel(NumberCallback callback,
                                                             void* context) {
  return Register(engineDebugLevel, callback, context);
}

inline const void* SettingsMonitor::RegisterMaxDebugFileEnabled(NumberCallback callback,
                                                                void* context) {
  return Register(maxDebugFileEnabled, callback, context);
}

inline const void* SettingsMonitor::RegisterMaxDebugFileSize(NumberCallback callback,
                                                             void* context) {
  return Register(maxDebugFileSize, callback, context);
}

inline const void* SettingsMonitor::RegisterMaxRetention(NumberCallback callback, void* context) {
  return Register(maxRetention, callback, context);
}

inline const void* SettingsMonitor::RegisterMaxDebugFileCount(NumberCallback callback,
                                                              void* context) {
  return Register(maxDebugFileCount, callback, context);
}

inline const void* SettingsMonitor::RegisterMaxDebugFileLimitMode(NumberCallback callback,
                                                                  void* context) {
  return Register(maxDebugFileLimitMode, callback, context);
}

inline const void* SettingsMonitor::RegisterMaxDebugFileAppend(NumberCallback callback,
                                                               void* context) {
  return Register(maxDebugFileAppend, callback, context);
}

inline const void* SettingsMonitor::VtmRegisterCreateDebugLog(NumberCallback callback,
                                                              void* context) {
  return Register(vtmCreateDebugLog, callback, context);
}

inline const void* SettingsMonitor::VtmRegisterMaxDebugFileEnabled(NumberCallback callback,
                                                                   void* context) {
  return Register(vtmMaxDebugFileEnabled, callback, context);
}

inline const void* SettingsMonitor::VtmRegisterMaxDebugFileSize(NumberCallback callback,
                                                                void* context) {
  return Register(vtmMaxDebugFileSize, callback, context);
}

inline const void* SettingsMonitor::VtmRegisterMaxDebugFileCount(NumberCallback callback,
                                                                 void* context) {
  return Register(vtmMaxDebugFileCount, callback, context);
}

inline const void* SettingsMonitor::VtmRegisterLogPath(TextCallback callback, void* context) {
  return Register(vtmLogPath, callback, context);
}

inline const void* SettingsMonitor::VtmRegisterMaxDebugFileRetentionSize(NumberCallback callback,
                                                                         void* context) {
  return Register(vtmMaxDebugFileRetentionSize, callback, context);
}

inline const void* SettingsMonitor::VtmRegisterLogLimitMode(NumberCallback callback,
                                                            void* context) {
  return Register(vtmLogLimitMode, callback, context);
}

inline const void* SettingsMonitor::VtmRegisterDebugLevel(NumberCallback callback, void* context) {
  return Register(vtmDebugLevel, callback, context);
}

inline long SettingsMonitor::AddNumberSetting(Setting** setting, NumberCallback callback,
                                              void* context, const void*& cookie) {
  return AddNumberOrDestroy(setting, callback, context, cookie, &Setting::CallNumber);
}

inline const void* SettingsMonitor::AddDWORDSetting(const wchar_t* key, const wchar_t* value,
                                                    NumberCallback callback, void* context) {
  return AddNumber({key, value, Setting::dwordKind, 0, 0}, callback, context);
}

inline const void* SettingsMonitor::AddBoolSetting(const wchar_t* key, const wchar_t* value,
                                                   NumberCallback callback, void* context) {
  return AddNumber({key, value, Setting::boolKind, 0, 1}, callback, context);
}

inline const void* SettingsMonitor::AddRangeSetting(const wchar_t* key, const wchar_t* value,
                                                    unsigned long minimum, unsigned long maximum,
                                                    NumberCallback callback, void* context) {
  if (minimum >= maximum) return nullptr;
  return AddNumber({key, value, Setting::rangeKind, minimum, maximum}, callback, context);
}

inline const void* SettingsMonitor::AddStringSetting(const wchar_t* key, const wchar_t* value,
                                                     TextCallback callback, void* context) {
  return AddText({key, value, Setting::stringKind, 0, 0}, callback, context);
}

#if !defined(VTCLASS_MINI_BUILD)

inline SettingsMonitor* SettingsMonitor::GetInstance() {
  return vtclass::border::NotNull(InstanceOrNull());
}

#endif

#endif
