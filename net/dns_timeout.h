#ifndef VTCLASS_NET_DNS_TIMEOUT_H
#define VTCLASS_NET_DNS_TIMEOUT_H

#include <cstdint>

#include "config/registry_values.h"

/* The rules of the time limit for name queries. All values are milliseconds. */
namespace vtclass::net {

inline constexpr std::uint32_t kNoTimeLimit = 0xFFFFFFFF;

/* The limit for a stored "DnsQueryTimeOut": the standard one when it is out of bounds. */
constexpr std::uint32_t UsableTimeout(std::uint32_t stored) noexcept {
  constexpr const config::RegistryValue& limit = config::kDnsQueryTimeout;
  if (stored == kNoTimeLimit || (stored >= limit.minimum && stored <= limit.maximum)) return stored;
  return limit.number;
}

/*
 * The limit as the microseconds of a time value whose seconds stay 0. Contract: nothing is carried
 * into the seconds, so that 5000 ms are 5,000,000 microseconds; the sockets library's time limit
 * takes it so. Above 2,147,483 ms (36 minutes) the field is full and stays at its largest number.
 */
constexpr std::int32_t MicrosecondsOf(std::uint32_t timeout) noexcept {
  const std::uint64_t microseconds = std::uint64_t{timeout} * 1000;
  return microseconds > INT32_MAX ? INT32_MAX : static_cast<std::int32_t>(microseconds);
}

}  // namespace vtclass::net

#endif
