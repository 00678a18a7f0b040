#ifndef VTCLASS_CLIENT_CLUSTER_H
#define VTCLASS_CLIENT_CLUSTER_H

/* What vtclass/cluster.h compiles into its callers: texts are filled on the caller's side. Included
 * by that header. */

namespace vtclass::border {

/* The functions of these names. */
VTCLASS_API bool GetVtActiveNodeName(const wchar_t* name, const WideSink& out) noexcept;
VTCLASS_API bool GetVtVirtualServerName(const wchar_t* name, const WideSink& out) noexcept;
VTCLASS_API bool ClusterVirtualNameToNodeName(const wcstring& name, const WideSink& out) noexcept;
VTCLASS_API clusAppState ServerIsRunningSQL2KInstance(const wchar_t* server,
                                                      const wchar_t* instance) noexcept;
VTCLASS_API bool GetOdbcConnectionString(const WideSink& out, const std::wstring& server,
                                         const std::wstring& instance, const std::wstring& database,
                                         const wchar_t* application, bool usePhysicalName) noexcept;

/* The outputs of the three questions for a database. */
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): sinks are made of the outputs alone
struct DatabaseNames {
  WideSink server;
  WideSink activeNode;
  WideSink instance;
  WideSink database;
  bool& isLocal;
};
VTCLASS_API bool GetDatabaseServerNames(const DatabaseNames& out) noexcept;
VTCLASS_API bool GetVTDatabaseServerNames(const DatabaseNames& out) noexcept;
VTCLASS_API bool GetCATDatabaseServerNames(const DatabaseNames& out) noexcept;

VTCLASS_API bool ServerIsRunningSQL(const wchar_t* server, bool* flag,
                                    const StepSink& services) noexcept;
VTCLASS_API bool ServerIsRunningExchange(wchar_t* server, bool* is, bool* ds, bool* srs, bool* kms,
                                         bool requireRunning, const StepSink& services) noexcept;

}  // namespace vtclass::border

namespace vtclass {

inline bool ServerIsRunningSQLWithServices(const wchar_t* server, bool* flag,
                                           std::vector<Step>& services) {
  services.clear();
  return border::ServerIsRunningSQL(server, flag, border::StepSink(services));
}

inline bool ServerIsRunningExchangeWithServices(wchar_t* server, bool* is, bool* ds, bool* srs,
                                                bool* kms, bool requireRunning,
                                                std::vector<Step>& services) {
  services.clear();
  return border::ServerIsRunningExchange(server, is, ds, srs, kms, requireRunning,
                                         border::StepSink(services));
}

}  // namespace vtclass

#if !defined(VTCLASS_MINI_BUILD)

namespace vtclass {

inline bool GetVtActiveNodeName(const wchar_t* name, wcstring& out) {
  return border::GetVtActiveNodeName(name, out);
}

inline bool GetVtVirtualServerName(const wchar_t* name, wcstring& out) {
  return border::GetVtVirtualServerName(name, out);
}

inline bool ClusterVirtualNameToNodeName(const wcstring& name, wcstring& out) {
  return border::ClusterVirtualNameToNodeName(name, out);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface's, converts what callers have
inline clusAppState ServerIsRunningSQL2KInstance(const wchar_t* server, wcstring instance) {
  return border::ServerIsRunningSQL2KInstance(server, instance.c_str());
}

inline bool GetOdbcConnectionString(std::wstring& out, const std::wstring& server,
                                    const std::wstring& instance, const std::wstring& database,
                                    const wchar_t* application, bool usePhysicalName) {
  return border::GetOdbcConnectionString(out, server, instance, database, application,
                                         usePhysicalName);
}

inline bool GetDatabaseServerNames(std::wstring& server, std::wstring& activeNode,
                                   std::wstring& instance, std::wstring& database, bool& isLocal) {
  return border::GetDatabaseServerNames({server, activeNode, instance, database, isLocal});
}

inline bool GetVTDatabaseServerNames(std::wstring& server, std::wstring& activeNode,
                                     std::wstring& instance, std::wstring& database,
                                     bool& isLocal) {
  return border::GetVTDatabaseServerNames({server, activeNode, instance, database, isLocal});
}

inline bool GetCATDatabaseServerNames(std::wstring& server, std::wstring& activeNode,
                                      std::wstring& instance, std::wstring& database,
                                      bool& isLocal) {
  return border::GetCATDatabaseServerNames({server, activeNode, instance, database, isLocal});
}

}  // namespace vtclass

#endif

#endif
