#ifndef VTCLASS_CLUSTER_OPENED_CLUSTER_H
#define VTCLASS_CLUSTER_OPENED_CLUSTER_H

#include <vtcluster/vtcluster.h>

#include <memory>

namespace vtclass::cluster {

/* The cluster of a server (null: of this machine), ready for questions; null when there is none. */
inline std::shared_ptr<Cluster> OpenedCluster(const wchar_t* name) {
  auto found = Cluster::GetInstance(name);
  return found && found->Open() ? found : nullptr;
}

}  // namespace vtclass::cluster

#endif
