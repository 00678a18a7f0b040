#ifndef VTCLASS_TESTS_SUPPORT_FAKE_CLUSTER_H
#define VTCLASS_TESTS_SUPPORT_FAKE_CLUSTER_H

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "companions/vtcluster/cluster_headers.h"

namespace vtclass::test {

struct FakeResource {
  std::wstring name;
  std::wstring type;
  std::wstring group;
  std::map<std::wstring, std::wstring> properties;         /* private ones */
  std::map<std::wstring, std::wstring> readOnlyProperties; /* private ones, too */
  std::vector<std::wstring> dependsOn;
  CLUSTER_RESOURCE_STATE state = ClusterResourceOnline;

  /* Why it cannot be opened, its type cannot be had, or nothing else of it; 0: it can. */
  DWORD openError = ERROR_SUCCESS;
  DWORD typeError = ERROR_SUCCESS;
  DWORD factsError = ERROR_SUCCESS;
};

/* A cluster as a test states it. */
struct FakeClusterTable {
  std::wstring name = L"CLU1";
  /* What GetInstance finds it by; null always does. */
  std::vector<std::wstring> reachedBy = {L"CLU1", L"NODEA",  L"NODEB", L"VTBACKUP",
                                         L"SQLV", L"SQLTWO", L"EXCHV"};
  std::map<std::wstring, std::wstring> groups; /* the node that owns each group */
  std::vector<FakeResource> resources;
  std::wstring sharedVolume = L"C:\\ClusterStorage\\Volume1";
  bool neverFits = false;  /* no buffer is ever large enough */
  bool isOld = false;      /* its nodes know no opening for reading */
  bool isReadOnly = false; /* the account may open it for reading only */

  FakeResource& Resource(const std::wstring& resource);
};

/* The nodes NODEA and NODEB of the cluster CLU1, with a group of each kind that matters. */
FakeClusterTable TwoNodes();

/*
 * Makes vtcluster.dll find this cluster for one scope, and none outside of one. One at a time in a
 * process; handles that stay open fail the test.
 *
 *   [[maybe_unused]] auto* const clusters = FakeCluster::AnswerLookUps();  // at namespace scope
 *   const FakeCluster cluster(TwoNodes());                                 // in a test
 */
class FakeCluster {
 public:
  explicit FakeCluster(FakeClusterTable table);
  ~FakeCluster();
  FakeCluster(const FakeCluster&) = delete;
  FakeCluster& operator=(const FakeCluster&) = delete;

  static ::testing::Environment* AnswerLookUps();

  FakeClusterTable table;

  /* How often the cluster API was called so far, but for closing; how often to list resources. */
  long Calls() const;
  long Readings() const;

  /* Lets the n-th call of the cluster API from now on fail (1 is the next); closing never fails. */
  void FailAt(long n);
  bool Failed() const;
};

}  // namespace vtclass::test

#endif
