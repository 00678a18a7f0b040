#ifndef VTCLUSTER_HOST_NAMES_H
#define VTCLUSTER_HOST_NAMES_H

#include "strings/wide_text.h"

/* What names and addresses of hosts say by themselves. Nothing here asks the system. */
namespace vtcluster {

/* The first label of a DNS name. */
vtclass::WideView HostPart(vtclass::WideView name) noexcept;

/*
 * `name` is the host `host`, which is one label: the same text, or the host with the domain that
 * `ownDomain` gives behind it. The same host name in another domain is another machine. `ownDomain`
 * is asked only where a domain stands behind the host; `isSame` compares two texts.
 */
bool NamesHost(vtclass::WideView name, vtclass::WideView host,
               bool (*isSame)(vtclass::WideView, vtclass::WideView),
               vtclass::WideText (*ownDomain)());

/* An IPv4 or IPv6 address, with or without a scope id or a scope's name. */
bool IsAddress(vtclass::WideView text);

/* Both texts are the same IPv4 or IPv6 address, whatever its spelling; a scope does not count. */
bool SameAddress(vtclass::WideView a, vtclass::WideView b);

}  // namespace vtcluster

#endif
