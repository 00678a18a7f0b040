#ifndef VTCLASS_TOOLS_VTCTL_SHARED_RESOLUTION_H
#define VTCLASS_TOOLS_VTCTL_SHARED_RESOLUTION_H

#include <string>
#include <vector>

namespace vtctl {

struct ResolvedAddress {
  std::wstring text;
  std::vector<std::wstring> notes; /* "this machine", "loopback", "link-local", ... */
  bool isOwn = false;
  bool isLoopback = false;
};

/* What the resolver says of a name. */
struct Resolution {
  unsigned long error = 0; /* then nothing else is there */
  std::wstring canonicalName;
  std::vector<ResolvedAddress> addresses; /* in the resolver's order */
};

/* An address with what it is; `isOwn`: this machine has it. */
ResolvedAddress Described(const std::wstring& address, bool isOwn);

/* Asks for a name without backslashes. `timeout` in milliseconds, 0: no limit. */
Resolution Resolve(const std::wstring& name, unsigned long timeout);

/* A resolver's status in words. Not every system has some for a time-out. */
std::wstring ResolverText(unsigned long code);

/* "10.0.0.1 (this machine, loopback)" */
std::wstring AddressLine(const ResolvedAddress& address);

/* The name without leading backslashes, of a UNC path the server alone. */
std::wstring ServerOf(const std::wstring& name);

}  // namespace vtctl

#endif
