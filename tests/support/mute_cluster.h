#ifndef VTCLASS_TESTS_SUPPORT_MUTE_CLUSTER_H
#define VTCLASS_TESTS_SUPPORT_MUTE_CLUSTER_H

#include <string>

#include "vtcluster/vtcluster.h"

namespace vtclass::test {

/* A cluster that opens and then answers nothing, for doubles that override some of it. */
class MuteCluster : public Cluster {
 public:
  bool Open() override { return true; }
  unsigned long GetErrorCode() const override { return 0; }
  int GetClusterType() override { return windowsCluster; }
  std::wstring GetClusterName() override { return L"CLUSTER7"; }
  bool GetBeActiveNodeName(std::wstring&) override { return false; }
  bool NetworkNameToNodeName(const std::wstring&, std::wstring&) override { return false; }
  bool GetVirtualNameFromIp(std::wstring&, const char*) override { return false; }
  bool GetVtVirtualServerName(const std::wstring&, std::wstring&) override { return false; }
  appState IsServerRunningSQL(const wchar_t*, bool*) override { return noAnswer; }
  appState IsServerRunningExchange(const wchar_t*, bool*) override { return noAnswer; }
};

}  // namespace vtclass::test

#endif
