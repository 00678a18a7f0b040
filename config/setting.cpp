#include <utility>

#include "config/sdk_debug_level.h"
#include "config/setting_change.h"
#include "platform/border.h"
#include "platform/hresult.h"
#include "platform/no_throw.h"
#include "vtclass/config.h"
#include "vtclass/settings_monitor.h"

using vtclass::config::SdkDebugLevel;
using vtclass::config::SettingChange;
using vtclass::platform::HandOver;
using vtclass::platform::HResultOfFailure;
using vtclass::platform::StatusOf;

namespace {

// Reading asks for the right to write as well: who may not change a setting is not told of it.
constexpr unsigned int kReadAndWrite = Configuration::accessRead | Configuration::accessWrite;

constexpr unsigned long kNoBound = 0xFFFFFFFF;

// `work` reports by HRESULT; running out of memory becomes one.
template <typename Work>
long HResultOf(Work work) noexcept {
  const long status = StatusOf(work);
  return status == ERROR_NOT_ENOUGH_MEMORY ? HResultOfFailure(ERROR_NOT_ENOUGH_MEMORY) : status;
}

long StatusAsHResult(const Configuration& key) {
  return HResultOfFailure(static_cast<unsigned long>(key.GetErrorCode()));
}

}  // namespace

long SettingChange::Deliver() const noexcept {
  if (numberCallback) return numberRunner(numberCallback, number, context);
  if (textCallback) return textRunner(textCallback, text.c_str(), context);
  return S_OK;
}

Setting::Setting(const std::nothrow_t&, HKEY root, const wchar_t* subkey, const wchar_t* valueName,
                 eKind kind, unsigned long minimum, unsigned long maximum) noexcept
    : root(root), kind(kind) {
  made = StatusOf([&] {
           this->subkey = wcstring(subkey);
           this->valueName = wcstring(valueName);
         }) == ERROR_SUCCESS;
  const bool usable = maximum >= minimum && (minimum != kNoBound || maximum != kNoBound);
  if (kind == rangeKind && usable) {
    this->minimum = minimum;
    this->maximum = maximum;
  }
  if (kind == boolKind) this->maximum = 1;
}

Setting::~Setting() = default;

bool Setting::IsNumeric() const { return kind != stringKind && kind != expandStringKind; }

long Setting::Attach(NumberCallback callback, void* callbackContext, NumberRunner runner) noexcept {
  if (!callback) return E_INVALIDARG;
  if (!IsNumeric()) return E_FAIL;
  numberCallback = callback;
  numberRunner = runner;
  context = callbackContext;
  return S_OK;
}

long Setting::Attach(TextCallback callback, void* callbackContext, TextRunner runner) noexcept {
  if (!callback) return E_INVALIDARG;
  if (IsNumeric()) return E_FAIL;
  textCallback = callback;
  textRunner = runner;
  context = callbackContext;
  return S_OK;
}

void Setting::TellAlways() { tellsAlways = true; }

long Setting::Read() {
  Configuration key(root);
  if (!key.Open(Configuration::openExisting, subkey.c_str(), nullptr, kReadAndWrite)) {
    return StatusAsHResult(key);
  }
  return ReadFrom(key);
}

long Setting::ReadFrom(Configuration& key) {
  const bool read = IsNumeric() ? key.LoadDWORD(valueName.c_str(), numericValue)
                                : key.Load(valueName.c_str(), stringValue);
  if (!read) return E_FAIL;
  hasValue = true;
  return S_OK;
}

bool Setting::Differs(unsigned long before) const {
  if (kind != sdkDebugLevelKind) return numericValue != before;
  return SdkDebugLevel(numericValue) != SdkDebugLevel(before);
}

// The status of the reading. `change` gets a callback only where there is something to tell.
long Setting::Refresh(Configuration& key, SettingChange& change) {
  change.context = context;
  return IsNumeric() ? RefreshNumber(key, change) : RefreshText(key, change);
}

long Setting::RefreshNumber(Configuration& key, SettingChange& change) {
  const unsigned long before = numericValue;
  if (ReadFrom(key) != S_OK) return key.GetErrorCode();
  if (!tellsAlways && !Differs(before)) return ERROR_SUCCESS;
  change.number = numericValue;
  change.numberCallback = numberCallback;
  change.numberRunner = numberRunner;
  return ERROR_SUCCESS;
}

long Setting::RefreshText(Configuration& key, SettingChange& change) {
  return StatusOf([&]() -> long {
    wcstring now;
    if (!key.Load(valueName.c_str(), now)) return key.GetErrorCode();
    hasValue = true;
    if (now == stringValue && !tellsAlways) return ERROR_SUCCESS;
    // The subscriber's copy comes first: a change that cannot be told for want of memory must still
    // be a change at the next look.
    change.text = now;
    change.textCallback = textCallback;
    change.textRunner = textRunner;
    stringValue.swap(now);
    return ERROR_SUCCESS;
  });
}

bool Setting::HasValue() const { return hasValue; }

long Setting::GetNumber(unsigned long& value) const {
  if (!IsNumeric()) return E_FAIL;
  value = numericValue;
  return S_OK;
}

long Setting::CopyText(const vtclass::border::WideSink& value) const noexcept {
  if (IsNumeric()) return E_FAIL;
  return HResultOf([&] {
    HandOver(value, stringValue);
    return S_OK;
  });
}

long Setting::WriteNumber(unsigned long value) {
  if (!IsNumeric()) return E_FAIL;
  const bool ranged = kind == rangeKind || kind == boolKind;
  if (ranged && (value < minimum || value > maximum)) return E_FAIL;
  Configuration key(root);
  if (!key.Open(Configuration::openOrCreate, subkey.c_str(), nullptr, kReadAndWrite) ||
      !key.SaveDWORD(valueName.c_str(), value)) {
    return StatusAsHResult(key);
  }
  numericValue = value;
  hasValue = true;
  return S_OK;
}

long Setting::WriteText(const wchar_t* value) {
  if (IsNumeric()) return E_FAIL;
  return HResultOf([&] {
    wcstring text(value);
    Configuration key(root);
    if (!key.Open(Configuration::openOrCreate, subkey.c_str(), nullptr, kReadAndWrite) ||
        !key.Save(valueName.c_str(), text)) {
      return StatusAsHResult(key);
    }
    stringValue.swap(text);
    hasValue = true;
    return static_cast<long>(S_OK);
  });
}
