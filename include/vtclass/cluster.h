#ifndef VTCLASS_CLUSTER_H
#define VTCLASS_CLUSTER_H

#include <cstddef>
#include <string>
#include <vector>

#include "vtclass/border.h"
#include "vtclass/export.h"
#include "vtclass/steps.h"
#include "vtclass/strings.h"

/*
 * Which server answers, and what runs on it: the cluster that the product or a server belongs to,
 * SQL Server and Exchange on a server, the product's own databases.
 *
 *   wcstring node;
 *   if (vtclass::ClusterVirtualNameToNodeName(L"\\\\SQLV", node)) ...  // a node of a cluster
 *
 * Cluster facts come from the library vtcluster (see vtcluster/vtcluster.h for what a virtual
 * server is, and where the product is found in a cluster), services from the service control
 * manager of the server, database locations from the registry of this machine.
 *
 * Failure: nothing is thrown. A cluster that cannot be opened counts as no cluster, a service
 * manager that cannot be reached as one without the service. When memory runs out an answer is
 * "no", and its texts are empty.
 * A cluster that is open but cannot be read, as a whole or in a part that could have changed the
 * answer, makes an answer "no", too: no server becomes a virtual one or this machine by it. So that
 * nobody takes such a "no" for an answer, every function but GetOdbcConnectionString leaves 0 in
 * the thread's last error when it has been answered, and otherwise why not: the platform's code for
 * the cluster (also for one whose service runs, but which could not be opened), 8 when memory ran
 * out, and the code of IsThisMe (vtclass/net.h).
 *
 * Threads: any function on any thread; there is no state. Time: questions about a server by name
 * go over the network and can take the system's time-outs for a server that does not answer.
 */
namespace vtclass {

/* What a cluster says of an instance of SQL Server. */
enum clusAppState : int {
  clusAppRunning = 0,
  clusAppUnknown = 1, /* on its way up or down */
  clusAppNotRunning = 2,
  clusAppNoAnswer = 4 /* no cluster, or one that does not know the instance or cannot be read */
};

/*
 * The cluster and its names.
 */

/* The product runs as a service of this machine's cluster. */
VTCLASS_API bool IsVtClustered();

/*
 * The node on which the product is active in the cluster of `name` (null or empty: of this
 * machine). False when there is none: `out` is then `name`, or the computer's name for null, empty
 * where that cannot be had.
 */
VTCLASS_CLIENT bool GetVtActiveNodeName(const wchar_t* name, wcstring& out);

/*
 * The product's virtual server in the cluster of `name`; false and `out` empty when there is none.
 * Contract: for null the answer is that of this machine and always true, with `out` empty where the
 * product is not clustered. Callers test the text.
 */
VTCLASS_CLIENT bool GetVtVirtualServerName(const wchar_t* name, wcstring& out);

/* The node that owns the network name `name` now. False when a cluster knows no such name: `out` is
 * then `name`. Leading backslashes are taken away in both cases. `name` and `out` may be one. */
VTCLASS_CLIENT bool ClusterVirtualNameToNodeName(const wcstring& name, wcstring& out);

/*
 * The name of the maker's own cluster server that `name` belongs to, into `size` characters at
 * `buffer`, cut where it does not fit and always terminated (nothing is stored for size 0). False,
 * with `buffer` as it was, for every other cluster and for none; also when `buffer` is null.
 * Windows failover clusters are not of that kind.
 */
VTCLASS_API bool GetXCSClusterName(const wchar_t* name, wchar_t* buffer, std::size_t size);

/* This machine belongs to a cluster of the maker's own cluster server. */
VTCLASS_API bool ServerIsRunningXCSCluster();

/*
 * Applications. `server` is a name with or without leading backslashes: of a node, a virtual server
 * or any other computer. Null and empty run nothing.
 */

/*
 * SQL Server runs on `server`: the service "MSSQLServer" is running there, or, when it is not,
 * "MSSQLServer$" with `server` behind it; a virtual server's services are those of its node. In a
 * cluster the cluster has the last word: a service that another virtual server's instance runs does
 * not count.
 * `*flag`, where not null, becomes true when the instance that runs belongs to the cluster.
 * Contract: what stands behind "MSSQLServer$" is `server` as the caller gave it, backslashes
 * included. No instance is taken out of it: a named instance is found where it bears the server's
 * name, as callers expect.
 */
VTCLASS_API bool ServerIsRunningSQL(const wchar_t* server, bool* flag);

/* The state of one instance (empty: the default one) in the cluster that `server` leads to, a
 * virtual server or a node of it: of several resources for it the best. No service is looked at. */
VTCLASS_CLIENT clusAppState ServerIsRunningSQL2KInstance(const wchar_t* server, wcstring instance);

/*
 * Exchange runs on `server`: its service "MSExchangeSA" is running, and where `server` belongs to a
 * cluster, the cluster agrees. `*is`, `*ds`, `*srs` and `*kms` tell of the services "MSExchangeIS",
 * "MSExchangeDS", "MSExchangeSRS" and "MSExchangeKMS" whether they exist, or with `requireRunning`
 * whether they run; all are false when the answer is no. Any of them may be null. `server` is only
 * read.
 */
VTCLASS_API bool ServerIsRunningExchange(wchar_t* server, bool* is, bool* ds, bool* srs, bool* kms,
                                         bool requireRunning);

/*
 * Both with the services that were looked at, all of them, in place of what `services` held: the
 * step's text is the service's name, its answer the state (SERVICE_RUNNING, ...), its code why
 * there is none (1060: there is no such service). A single step without a name tells why the
 * server's service manager cannot be reached. When the steps find no memory the answer is "no",
 * the last error 8, and the steps end there.
 */
inline bool ServerIsRunningSQLWithServices(const wchar_t* server, bool* flag,
                                           std::vector<Step>& services);
inline bool ServerIsRunningExchangeWithServices(wchar_t* server, bool* is, bool* ds, bool* srs,
                                                bool* kms, bool requireRunning,
                                                std::vector<Step>& services);

/*
 * The product's databases.
 */

/*
 * The ODBC connection string of a database: "DRIVER=SQL Server;SERVER=host\instance;DATABASE=...;
 * App=...", without the instance or the application where they are empty (`application` may be
 * null). The host is `server`; with `usePhysicalName` this machine's physical DNS host name, or
 * `server` again when that has more than 63 characters. False and `out` empty when `server` or
 * `database` is empty.
 * Contract: the texts are put in as they are, and nothing is quoted. Callers take them from the
 * functions below, not from people.
 */
VTCLASS_CLIENT bool GetOdbcConnectionString(std::wstring& out, const std::wstring& server,
                                            const std::wstring& instance,
                                            const std::wstring& database,
                                            const wchar_t* application, bool usePhysicalName);

/*
 * Where the product keeps its database: `server`, and in a cluster the node on which the product is
 * active there (`activeNode`, empty when that is `server` itself or not known), the instance of SQL
 * Server and the database. `isLocal`: the server is this machine; false also when that cannot be
 * told. All outputs are cleared first.
 *
 * They are values of HKEY_LOCAL_MACHINE\Software\Norvane\Vantorel For Windows\Pordex: "Database
 * Server Name" (missing or empty: this machine's node name), "Database Instance Name" ("Vantorl")
 * and "Database Name" (missing or empty: "VTDB"). A value counts as missing when it is no text or
 * takes more than 1,023 bytes.
 *
 * False, with all outputs as cleared, when the key cannot be opened or no server's name is to be
 * had.
 * Contract: an instance that is stored as an empty text stays empty and means SQL Server's default
 * instance. Only a missing value becomes "Vantorl".
 */
VTCLASS_CLIENT bool GetDatabaseServerNames(std::wstring& server, std::wstring& activeNode,
                                           std::wstring& instance, std::wstring& database,
                                           bool& isLocal);

/* The same for the server's database: the values "Server Database Server Name", "Server Database
 * Instance Name" and "Server Database Name" of the key VTDatabase beside Pordex. */
VTCLASS_CLIENT bool GetVTDatabaseServerNames(std::wstring& server, std::wstring& activeNode,
                                             std::wstring& instance, std::wstring& database,
                                             bool& isLocal);

/* The same for the catalogue's database: "Catalog Database Server Name", "Catalog Database Instance
 * Name" and "Catalog Database Name" of VTDatabase. */
VTCLASS_CLIENT bool GetCATDatabaseServerNames(std::wstring& server, std::wstring& activeNode,
                                              std::wstring& instance, std::wstring& database,
                                              bool& isLocal);

}  // namespace vtclass

#include "vtclass/client/cluster.h"

#endif
