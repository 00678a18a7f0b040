#ifndef VTCLASS_NET_H
#define VTCLASS_NET_H

#include <vtsocket/vtsocket.h>

#include "vtclass/export.h"
#include "vtclass/strings.h"

namespace vtclass {

enum _COMPUTER_NAME_FORMAT : int {};  // values: see the contract to be written

VTCLASS_API unsigned long IsThisMe(const wcstring& name, bool* isMe, bool clusterAware);
VTCLASS_API unsigned long IsThisMeEx(const wcstring& name, bool* isMe, bool clusterAware,
                                     int timeoutMs);
VTCLASS_API unsigned long IsThisAnAliasForMe(const char* name, bool* isMe, unsigned long* timeout);
VTCLASS_API unsigned long IsThisAnAliasForMe(const wchar_t* name, bool* isMe,
                                             unsigned long* timeout);
VTCLASS_API unsigned long VTGetFQDN(wcstring& out);
VTCLASS_API unsigned long VTConvertServerNamePlus(const wcstring& in, wcstring& out,
                                                  _COMPUTER_NAME_FORMAT format, bool clusterAware,
                                                  bool* isLocal, unsigned long* status);
VTCLASS_API wcstring GetAnyIpAddress(const wcstring& name);
VTCLASS_API bool IsIpAddr(const wchar_t* text);
VTCLASS_API bool IsIpAddrLocal(const wchar_t* text);
VTCLASS_API unsigned long IsLocalIPAddress(const RefPointer<VTSocket::VTIPAddress>& address,
                                           bool* isLocal);
VTCLASS_API bool IsOracleRACVNodeName(const wcstring& name, bool* isMe);
VTCLASS_API int GetComputerNameInString(wcstring& out);
VTCLASS_API int GetComputerNodeName(wcstring& out);
VTCLASS_API int GetComputerNodeName(wchar_t* buffer, unsigned long* size);
VTCLASS_API int SplitUncPath(const wcstring& path, wcstring& server, wcstring& share);

}  // namespace vtclass

#endif
