#ifndef VTCLASS_CLUSTER_OPENED_CLUSTER_H
#define VTCLASS_CLUSTER_OPENED_CLUSTER_H

#include <vtcluster/vtcluster.h>

#include <memory>

namespace vtclass::cluster {

/*
 * What `ask(cluster)` answers for the cluster of a server (null: of this machine), `otherwise` when
 * there is none. `error` tells a "no" from a cluster that could not be asked: see
 * Cluster::GetErrorCode.
 */
template <typename Result, typename Ask>
Result AskCluster(const wchar_t* name, unsigned long& error, Result otherwise, Ask ask) {
  const std::shared_ptr<Cluster> found = Cluster::GetInstance(name);
  if (!found) return otherwise;
  const Result answer = found->Open() ? ask(*found) : otherwise;
  error = found->GetErrorCode();
  return answer;
}

}  // namespace vtclass::cluster

#endif
