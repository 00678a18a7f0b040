#ifndef VTCLUSTER_VTCLUSTER_H
#define VTCLUSTER_VTCLUSTER_H

#include <vtclass/win32.h>

#include <memory>
#include <string>

#include "vtclass/strings.h"

#if defined(VTCLUSTER_BUILD)
#define VTCLUSTER_API __declspec(dllexport)
#else
#define VTCLUSTER_API __declspec(dllimport)
#endif

class Cluster {
 public:
  enum appState : int { running = 0, unknown = 1, notRunning = 2, runningIfOwn = 3, noAnswer = 4 };

  VTCLUSTER_API static std::shared_ptr<Cluster> GetInstance(const wchar_t* name = nullptr);
  VTCLUSTER_API static bool IsCluster();
  VTCLUSTER_API static bool IsVtClustered();
  VTCLUSTER_API static std::wstring GetVtVirtualServerName();

  virtual ~Cluster() = default;
  virtual bool Open() = 0;
  virtual int GetClusterType() = 0;
  virtual std::wstring GetClusterName() = 0;
  virtual bool GetBeActiveNodeName(std::wstring& node) = 0;
  virtual bool NetworkNameToNodeName(const std::wstring& name, std::wstring& node) = 0;
  virtual bool GetVirtualNameFromIp(std::wstring& virtualName, const char* nameOrAddress) = 0;
  virtual bool GetVtVirtualServerName(const std::wstring& server, std::wstring& virtualName) = 0;
  virtual appState IsServerRunningSQL(const wchar_t* server, bool* own) = 0;
  virtual appState IsServerRunningExchange(const wchar_t* server, bool* own) = 0;
};

class XCSCluster {
 public:
  VTCLUSTER_API static std::shared_ptr<XCSCluster> GetInstance(const wchar_t* name = nullptr);
  virtual ~XCSCluster() = default;
  virtual Cluster::appState IsServerRunningSQL2KInstance(const wchar_t* server,
                                                         const wchar_t* instance, bool* own) = 0;
};

class ResourceGlue {
 public:
  VTCLUSTER_API static ResourceGlue* GetInstance();
  VTCLUSTER_API bool ClusterIsPathOnSharedVolume(const wchar_t* path);
  VTCLUSTER_API bool ClusterGetVolumePathName(const wchar_t* path, wchar_t* volumePath,
                                              unsigned long length);
};

VTCLUSTER_API int VTGetComputerName(wchar_t* buffer, unsigned long* size);
VTCLUSTER_API int VTGetComputerNameW(wchar_t* buffer, unsigned long* size);

#endif
