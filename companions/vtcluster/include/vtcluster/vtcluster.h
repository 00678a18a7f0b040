#ifndef VTCLUSTER_VTCLUSTER_H
#define VTCLUSTER_VTCLUSTER_H

#include <vtclass/win32.h>

#include <memory>
#include <string>

#if defined(VTCLUSTER_BUILD)
#define VTCLUSTER_API __declspec(dllexport)
#else
#define VTCLUSTER_API __declspec(dllimport)
#endif

/*
 * A failover cluster as the agents see it: which node stands behind a network name, where the
 * product runs, whether an application that a server offers belongs to the cluster.
 *
 *   const auto cluster = Cluster::GetInstance(L"SQLV");
 *   std::wstring node;
 *   if (cluster->Open() && cluster->NetworkNameToNodeName(L"SQLV", node)) ...
 *
 * The answers come from the system's failover-cluster API, which is loaded at the first question.
 * Where it is missing, on a machine that is no node and while the cluster service does not run
 * there is no cluster: Open and every query answer false, the names are empty, the application
 * states `noAnswer`. A cluster that cannot be opened counts as none.
 *
 * A cluster that is open but cannot be read, as a whole or in a part that could have changed the
 * answer, answers the same, but is no cluster without such a name: GetErrorCode tells. Ask it
 * before you take a "no" for one. Only resources of the kinds that matter to a question are read;
 * one that cannot be read spoils no answer that the others give. The cluster is opened for reading
 * where the system can, so that the account needs no other right to it.
 *
 * Names are compared without regard to case. "Virtual server" means a network name of the cluster
 * with the applications of its group.
 *
 * Outputs: a query that answers false leaves its output text as it was. Failure: nothing is thrown
 * but std::bad_alloc when memory runs out.
 * Threads: one object belongs to one thread at a time; the static operations may be called by any.
 * Time: each question asks the cluster anew, some calls for every resource of it; what no cluster
 * could answer otherwise, such as whether this machine's own name is a network name, asks nothing.
 * Opening by name goes over the network and can take the system's time-out for a server that does
 * not answer.
 * Ownership: the object holds the connection to the cluster and closes it when the last
 * pointer goes.
 */
class Cluster {
 public:
  /* What a cluster says of an application of a server. */
  enum appState : int {
    running = 0,
    unknown = 1, /* on its way up or down */
    notRunning = 2,
    runningIfOwn = 3, /* the cluster does not run it: a service that runs is the server's own when
                         the query's flag is true, and another virtual server's when not */
    noAnswer = 4      /* no cluster, no name, or not to be told: see GetErrorCode */
  };

  /* What GetClusterType answers. */
  enum clusterType : int {
    noCluster = 0,
    windowsCluster = 1,
    xcsCluster = 2 /* the maker's own cluster server; this library does not meet it */
  };

  /*
   * The cluster of this machine (null or empty), or the one that a node, a network name or the
   * cluster's own name leads to; leading backslashes do not count. Never null, and connects to
   * nothing yet.
   */
  VTCLUSTER_API static std::shared_ptr<Cluster> GetInstance(const wchar_t* name = nullptr);

  /* This machine is a node of a cluster, and the cluster service runs on it. */
  VTCLUSTER_API static bool IsCluster();

  /* The product runs as a service of this machine's cluster: one of the cluster's groups holds a
   * Generic Service resource whose service's name begins with "Vantorel". The thread's last error
   * becomes 0, or what GetErrorCode would be. */
  VTCLUSTER_API static bool IsVtClustered();

  /* The virtual server of the product in this machine's cluster; empty when there is none. The
   * thread's last error as above. */
  VTCLUSTER_API static std::wstring GetVtVirtualServerName();

  virtual ~Cluster() = default;

  /* Connects to the cluster; true also when it is connected already. All other operations of the
   * object answer as without a cluster until this has succeeded. */
  virtual bool Open() = 0;

  /*
   * Why the last operation of this object gave no answer: a Win32 code, 0 when it gave one, "no" or
   * "no cluster" among them. After Open: why a cluster service that runs could not be opened.
   */
  virtual unsigned long GetErrorCode() const = 0;

  /* One of clusterType. */
  virtual int GetClusterType() = 0;

  /* The cluster's own name; empty without a cluster. */
  virtual std::wstring GetClusterName() = 0;

  /* The node on which the product's group is. Where several groups hold the product: that of the
   * network name or address by which the object was made, else the one on the node of that name,
   * else the first. */
  virtual bool GetBeActiveNodeName(std::wstring& node) = 0;

  /*
   * The node that owns a network name of the cluster now, also while the name is offline. False for
   * every other name, a node's own among them. `name` is the short name or the DNS name, alone or
   * with this machine's DNS domain; no backslashes. `name` and `node` may be the same object.
   */
  virtual bool NetworkNameToNodeName(const std::wstring& name, std::wstring& node) = 0;

  /* The network name that is denoted by `nameOrAddress` (in the ANSI code page, leading backslashes
   * do not count): itself in the spelling of the cluster, or by one of its addresses. False when it
   * belongs to no network name; null and empty are none. */
  virtual bool GetVirtualNameFromIp(std::wstring& virtualName, const char* nameOrAddress) = 0;

  /* The virtual server of the product to which `server` leads, as GetBeActiveNodeName chooses by
   * its name; an empty name leads to the first. */
  virtual bool GetVtVirtualServerName(const std::wstring& server, std::wstring& virtualName) = 0;

  /*
   * What the cluster knows of SQL Server on a server. Of a virtual server, given by name or
   * address: the state of its instance or availability group, `notRunning` when it has none. Of
   * every other server `runningIfOwn`, with the flag false when the cluster runs a default instance
   * on that node. `own`, where not null, is false in all other cases. Of several applications the
   * best state counts: what runs, runs.
   */
  virtual appState IsServerRunningSQL(const wchar_t* server, bool* own) = 0;

  /* The same for the store of Exchange. */
  virtual appState IsServerRunningExchange(const wchar_t* server, bool* own) = 0;
};

/* Questions about single instances of SQL Server in a cluster. Otherwise as Cluster. */
class XCSCluster {
 public:
  /* The running cluster that `name` leads to (see Cluster::GetInstance), already connected; null
   * when there is none. The thread's last error is then 0, or why one could not be opened. */
  VTCLUSTER_API static std::shared_ptr<XCSCluster> GetInstance(const wchar_t* name = nullptr);

  virtual ~XCSCluster() = default;

  /*
   * The state of an instance (null, empty and "MSSQLSERVER": the default one) of a virtual server.
   * Of a node: the state of the clustered instance that is there, `notRunning` when it is on
   * another node. `noAnswer` when the cluster has no such instance. `own`, where not null, becomes
   * false: an instance that the cluster knows is never the server's own.
   */
  virtual Cluster::appState IsServerRunningSQL2KInstance(const wchar_t* server,
                                                         const wchar_t* instance, bool* own) = 0;

  /* See Cluster::GetErrorCode. */
  virtual unsigned long GetErrorCode() const = 0;
};

/*
 * Paths on the shared volumes of this machine's cluster. Without a cluster, on systems before
 * version 6.1 and for null or empty paths no path is on one.
 * Threads: any. Nothing is thrown.
 */
class ResourceGlue {
 public:
  /* The one object of the process, never null; it needs no release. */
  VTCLUSTER_API static ResourceGlue* GetInstance();

  VTCLUSTER_API bool ClusterIsPathOnSharedVolume(const wchar_t* path);

  /* The mount point of the volume that holds `path`, into `length` characters. On failure the
   * text is empty where there is room, and the thread's last error says why: 1062 without a
   * cluster, 87 for a null or empty path or no room at all. */
  VTCLUSTER_API bool ClusterGetVolumePathName(const wchar_t* path, wchar_t* volumePath,
                                              unsigned long length);
};

/*
 * The computer's NetBIOS name as this process sees it: a program that a cluster has started sees
 * the network name of its group. `*size` is the room in characters before, and the length without
 * the terminator after the call. 0 on failure, with the thread's last error; when the room is too
 * small `*size` becomes the room that is needed.
 * Both functions are the same.
 */
VTCLUSTER_API int VTGetComputerName(wchar_t* buffer, unsigned long* size);
VTCLUSTER_API int VTGetComputerNameW(wchar_t* buffer, unsigned long* size);

#endif
