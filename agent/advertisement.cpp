#include "config/registry_values.h"
#include "vtclass/agent.h"

using namespace vtclass::config;

namespace {

unsigned long StatusAfter(const Configuration& config, bool done) {
  return done ? ERROR_SUCCESS : static_cast<unsigned long>(config.GetErrorCode());
}

bool IsSet(Configuration& config, const RegistryValue& value) {
  unsigned long number = value.number;
  config.LoadDWORD(value.name, number);
  return number != 0;
}

}  // namespace

unsigned long AgentAdvConfig::Failed(unsigned long status) noexcept { return errorCode = status; }

unsigned long AgentAdvConfig::Finished(bool done) noexcept {
  return done ? ERROR_SUCCESS : Failed(StatusAfter(config, done));
}

bool AgentAdvConfig::IsAdvEnabled() noexcept { return !IsSet(config, kAdvertisingDisabled); }
unsigned long AgentAdvConfig::EnableAdv() noexcept {
  return Finished(config.SaveDWORD(kAdvertisingDisabled.name, 0));
}
unsigned long AgentAdvConfig::DisableAdv() noexcept {
  return Finished(config.SaveDWORD(kAdvertisingDisabled.name, 1));
}

bool AgentAdvConfig::IsPurgePending() noexcept { return IsSet(config, kPurgePending); }
unsigned long AgentAdvConfig::EnablePendingPurge() noexcept {
  return Finished(config.SaveDWORD(kPurgePending.name, 1));
}
unsigned long AgentAdvConfig::DisablePendingPurge() noexcept {
  return Finished(config.SaveDWORD(kPurgePending.name, 0));
}

bool AgentAdvConfig::IsAdvertiseNowPending() noexcept { return IsSet(config, kAdvertiseNow); }
unsigned long AgentAdvConfig::SetPendingAdvertiseNow() noexcept {
  return Finished(config.SaveDWORD(kAdvertiseNow.name, 1));
}
unsigned long AgentAdvConfig::ClearPendingAdvertiseNow() noexcept {
  return Finished(config.SaveDWORD(kAdvertiseNow.name, 0));
}

bool AgentAdvConfig::IsAutoDiscoveryEnabled() noexcept {
  return IsSet(config, kAutoDiscoveryEnabled);
}
unsigned long AgentAdvConfig::EnableAutoDiscovery() noexcept {
  return Finished(config.SaveDWORD(kAutoDiscoveryEnabled.name, 1));
}
unsigned long AgentAdvConfig::DisableAutoDiscovery() noexcept {
  return Finished(config.SaveDWORD(kAutoDiscoveryEnabled.name, 0));
}

unsigned long AgentAdvConfig::GetAdvertiseInterval(unsigned long& minutes) noexcept {
  return Finished(config.LoadDWORD(kAdvertisingInterval.name, minutes));
}

unsigned long AgentAdvConfig::SetAdvertiseInterval(unsigned long minutes) noexcept {
  return Finished(config.SaveDWORD(kAdvertisingInterval.name, minutes));
}

unsigned long AgentAdvConfig::RegisterForChanges(void* event) noexcept {
  return StatusAfter(config, config.RegisterForChanges(true, event));
}

unsigned long AgentAdvConfig::WaitForChanges() noexcept {
  return StatusAfter(config, config.RegisterForChanges(false, nullptr));
}

unsigned long AgentAdvConfig::UnregisterForChanges(void* event) noexcept {
  return StatusAfter(config, config.UnregisterForChanges(event));
}
