#ifndef VTCLASS_TOOLS_VTCTL_SECURITY_OWN_H
#define VTCLASS_TOOLS_VTCTL_SECURITY_OWN_H

#include <cstdint>
#include <string>
#include <vector>

#include "tools/vtctl/shared/interrupt.h"
#include "tools/vtctl/shared/paths.h"
#include "vtclass/security.h"

namespace vtctl {

struct OwnFailure {
  vtclass::OwnershipStep step = vtclass::ownershipTaken;
  Path path;
  unsigned long status = 0;
};

/* What is to be taken over, and how it is told meanwhile. */
struct OwnRequest {
  Path path;
  bool isTree = false;
  bool isSilent = false; /* progress and failures are not printed, failures are kept */
  bool (*stopRequested)() = Interrupted; /* asked behind each entry of a tree */
};

struct OwnResult {
  std::uint64_t taken = 0;
  std::uint64_t failed = 0;
  bool isStopped = false;
  std::vector<OwnFailure> failures; /* of a silent one */
};

/* Takes it over. A failure does not end the walk through a tree. */
OwnResult TakeOver(const OwnRequest& request);

}  // namespace vtctl

#endif
