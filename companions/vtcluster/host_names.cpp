#include "companions/vtcluster/host_names.h"

#include "companions/vtsocket/address_text.h"

namespace vtcluster {

using vtclass::WideText;
using vtclass::WideView;

namespace {

// Clusters write a scope as a number or as an interface's name, which means nothing elsewhere.
std::optional<vtclass::vtsocket::AddressValue> AddressIn(WideView text) {
  return vtclass::vtsocket::ParseAddress(text.substr(0, text.find('%')));
}

}  // namespace

WideView HostPart(WideView name) noexcept { return name.substr(0, name.find('.')); }

bool NamesHost(WideView name, WideView host, bool (*isSame)(WideView, WideView),
               WideText (*ownDomain)()) {
  if (host.empty()) return false;
  if (isSame(name, host)) return true;
  const WideView first = HostPart(name);
  return first.size() + 1 < name.size() && isSame(first, host) &&
         isSame(name.substr(first.size() + 1), ownDomain());
}

bool IsAddress(WideView text) { return AddressIn(text).has_value(); }

bool SameAddress(WideView a, WideView b) {
  const auto first = AddressIn(a);
  return first && first == AddressIn(b);
}

}  // namespace vtcluster
