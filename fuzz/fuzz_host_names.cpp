#include <arpa/inet.h>

#include <cstring>
#include <string>

#include "companions/vtcluster/host_names.h"
#include "fuzz/fuzz_input.h"

// Two names and a domain: a host is named by itself and by itself with the domain, by nothing else;
// an address is what the C library takes for one, whatever scope stands behind it.

namespace {

using vtclass::WideText;
using vtclass::WideView;
using vtclass::fuzz::Check;

WideText domain;
bool domainAsked;

WideText Domain() {
  domainAsked = true;
  return domain;
}

WideText Lower(WideView text) {
  WideText lower(text);
  for (auto& unit : lower)
    if (unit >= 'A' && unit <= 'Z') unit = static_cast<vtclass::WideUnit>(unit + ('a' - 'A'));
  return lower;
}

bool IsSame(WideView a, WideView b) { return Lower(a) == Lower(b); }

void CheckHost(WideView name, WideView host) {
  const bool isLabel = host.find('.') == WideView::npos;
  const bool withDomain =
      isLabel && !domain.empty() && IsSame(name, WideText(host) + VTCLASS_WIDE(".") + domain);
  domainAsked = false;
  Check(vtcluster::NamesHost(name, host, &IsSame, &Domain) ==
        (!host.empty() && (IsSame(name, host) || withDomain)));
  Check(!domainAsked ||
        (name.find('.') != WideView::npos && IsSame(vtcluster::HostPart(name), host)));
}

// The address as the C library reads it, with its family in front; empty for a text that is none.
std::string Bytes(WideView text) {
  std::string narrow;
  for (const auto unit : text.substr(0, text.find('%'))) {
    if (unit == 0 || unit >= 0x80) return {};
    narrow += static_cast<char>(unit);
  }
  char bytes[17] = {};
  if (inet_pton(AF_INET, narrow.c_str(), bytes + 1) == 1) return {bytes, sizeof(bytes)};
  bytes[0] = 1;
  if (inet_pton(AF_INET6, narrow.c_str(), bytes + 1) == 1) return {bytes, sizeof(bytes)};
  return {};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vtclass::fuzz::Input input(data, size);
  const std::size_t first = input.Number(), second = input.Number();
  const WideView text = input.Text();
  const WideView name = text.substr(0, first % (text.size() + 1));
  const WideView rest = text.substr(name.size());
  const WideView host = rest.substr(0, second % (rest.size() + 1));
  domain = rest.substr(host.size());

  CheckHost(name, host);
  CheckHost(WideText(host) + VTCLASS_WIDE(".") + domain, host);
  const std::string bytes = Bytes(name);
  Check(vtcluster::IsAddress(name) == !bytes.empty());
  Check(vtcluster::SameAddress(name, host) == (!bytes.empty() && bytes == Bytes(host)));
  Check(vtcluster::SameAddress(name, WideText(name) + VTCLASS_WIDE("%3")) == !bytes.empty());
  return 0;
}
