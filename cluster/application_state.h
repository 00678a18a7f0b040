#ifndef VTCLASS_CLUSTER_APPLICATION_STATE_H
#define VTCLASS_CLUSTER_APPLICATION_STATE_H

namespace vtclass::cluster {

/*
 * Whether an application whose service runs counts as running on a server of a cluster, by the
 * cluster's state for it and the flag that comes with the state. The numbers are those of
 * Cluster::appState; whatever has no meaning there counts as not running.
 */
constexpr bool CountsAsRunning(int state, bool own) noexcept {
  constexpr int kRunning = 0;
  constexpr int kRunningIfOwn = 3;
  return state == kRunning || (state == kRunningIfOwn && own);
}

}  // namespace vtclass::cluster

#endif
