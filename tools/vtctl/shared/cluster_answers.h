#ifndef VTCLASS_TOOLS_VTCTL_SHARED_CLUSTER_ANSWERS_H
#define VTCLASS_TOOLS_VTCTL_SHARED_CLUSTER_ANSWERS_H

#include <vtcluster/vtcluster.h>

#include <string>

#include "vtclass/strings.h"

namespace vtctl {

/* What the library's functions answer; an empty text is "none". */
struct ClusterAnswers {
  std::wstring name; /* as the operator wrote it */
  wcstring computer;
  wcstring node; /* of this machine */
  bool found = false;
  unsigned long error = ERROR_SUCCESS; /* the first that kept the cluster from an answer */
  unsigned long nameError = ERROR_SUCCESS;
  unsigned long productError = ERROR_SUCCESS;
  int type = Cluster::noCluster;
  std::wstring clusterName;
  bool isVirtual = false; /* the name is a network name of the cluster */
  wcstring nodeOfName;
  bool hasActiveNode = false; /* the product runs in the cluster */
  wcstring activeNode;
  wcstring virtualServer;
};

/* Asks for the cluster of a server; an empty name is this machine. */
ClusterAnswers AskCluster(const std::wstring& name);

/* "CLU1 (Windows failover cluster)", or why there is none. */
std::wstring ClusterSentence(const ClusterAnswers& answers);

/* "active on NODEA, reached as VTBACKUP", or why it is not clustered. */
std::wstring ProductSentence(const ClusterAnswers& answers);

}  // namespace vtctl

#endif
