#ifndef VTCLASS_NET_LOCAL_NAMES_H
#define VTCLASS_NET_LOCAL_NAMES_H

#include <vtclass/win32.h>

#include <memory>

#include "vtclass/strings.h"

namespace vtclass::net {

/* One of the platform's names of this machine, asked for now; empty when it gives none. */
wcstring SystemName(COMPUTER_NAME_FORMAT format);

/* What is remembered of this machine from the first question on. */
struct LocalNames {
  wcstring node;     /* the physical node's name */
  wcstring dnsHost;  /* the DNS host name */
  wcstring fullName; /* the fully qualified DNS name */
};
/*
 * The names that are remembered. Where a cluster could not tell whether the computer's name is one
 * of its own, the names are good for this question only, and the next one fetches them again:
 * remembered, a virtual server's name would stand for the node as long as the process lives.
 */
std::shared_ptr<const LocalNames> RememberedNames();

}  // namespace vtclass::net

#endif
