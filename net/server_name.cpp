#include <vtcluster/vtcluster.h>

#include <cwctype>
#include <memory>
#include <optional>

#include "net/addresses.h"
#include "net/ansi_name.h"
#include "net/local_names.h"
#include "net/name_forms.h"
#include "net/noted.h"
#include "net/resolver.h"
#include "platform/no_throw.h"
#include "platform/same_name.h"
#include "vtclass/net.h"

// The conversion of server names. What each step finds goes into one Conversion, which becomes the
// caller's outputs at the end; until then nothing of the caller's changes, so that the input and
// the output may be the same object.
namespace vtclass {

namespace net {

using platform::IsSameName;

namespace {

// What the status of VTConvertServerNamePlus says.
constexpr unsigned long kConverted = 0;
constexpr unsigned long kNoUsableName = 1;
constexpr unsigned long kInvalidArgument = 2;
constexpr unsigned long kReverseLookupFailed = 3;
constexpr unsigned long kNothingDone = 4;

struct Conversion {
  std::optional<std::wstring> name;  // what takes the place of the server
  bool isLocal = false;
  unsigned long status = kConverted;
  unsigned long result = ERROR_SUCCESS;
};

Conversion Failed(unsigned long status, unsigned long result, bool isLocal = false) {
  return {std::nullopt, isLocal, status, result};
}

// The error code 1 of the platform is the interface's answer for "no name in that form".
constexpr unsigned long kNoName = ERROR_INVALID_FUNCTION;

Conversion Converted(std::wstring name, bool isLocal) {
  if (name.empty()) return Failed(kNoUsableName, kNoName, isLocal);
  return {std::move(name), isLocal};
}

bool IsGraphic(wchar_t unit) { return std::iswgraph(unit) != 0; }

// A foreign host's name in one of the three forms of names.
std::wstring ForeignForm(std::wstring_view name, _COMPUTER_NAME_FORMAT format,
                         const LocalNames& own) {
  switch (format) {
    case computerNameNetBIOS:
      return NetBiosForm(name, &IsGraphic);
    case computerNameDnsHostname:
      return std::wstring(FirstLabel(name));
    default:
      return WithDomainOf(name, own.fullName);
  }
}

Conversion ConvertAddress(const VTSocket::VTIPAddress& address, const std::wstring& server,
                          _COMPUTER_NAME_FORMAT format, bool isLocal, const LocalNames& own) {
  if (format == computerNameIpAddress) return {server, isLocal};
  if (!isLocal) {
    wcstring host;
    const unsigned long error = HostNameOf(address, host);
    if (error != ERROR_SUCCESS) return Failed(kReverseLookupFailed, error);
    return Converted(ForeignForm(host, format, own), false);
  }
  if (format == computerNameNetBIOS) return Converted(own.node, true);
  return Converted(format == computerNameDnsHostname ? own.dnsHost : own.fullName, true);
}

// A name that this machine answers to, in the NetBIOS form. In a cluster that may be a name of the
// cluster's, and only the node's own names stand for the node.
Conversion OwnNetBiosName(const std::wstring& server, const wcstring& netBios, bool clusterAware,
                          const LocalNames& own) {
  if (!clusterAware || !Cluster::IsCluster()) return Converted(netBios, true);
  const bool isNode = IsSameName(server, own.node) || IsSameName(server, own.fullName);
  return isNode ? Converted(own.node, true) : Converted(netBios, false);
}

Conversion ConvertName(const std::wstring& server, _COMPUTER_NAME_FORMAT format, bool clusterAware,
                       const wcstring& netBios, bool isLocal, const LocalNames& own) {
  if (format == computerNameIpAddress) {
    const wcstring address = GetAnyIpAddress(server);
    return Converted(address, isLocal && !address.empty());
  }
  if (!isLocal) return Converted(ForeignForm(server, format, own), false);
  if (format == computerNameNetBIOS) return OwnNetBiosName(server, netBios, clusterAware, own);
  return Converted(format == computerNameDnsHostname ? own.dnsHost : own.fullName, true);
}

bool IsKnownFormat(_COMPUTER_NAME_FORMAT format) {
  return format == computerNameNetBIOS || format == computerNameDnsHostname ||
         format == computerNameDnsFullyQualified || format == computerNameIpAddress ||
         format == computerNameNoConversion;
}

// Each of the platform's forms is asked for once at most: a round trip to the system is most of
// what a check costs.
Conversion ConvertServer(const std::wstring& server, _COMPUTER_NAME_FORMAT format,
                         bool clusterAware, const LocalNames& own, const Steps& steps) {
  const wcstring netBios = SystemName(ComputerNameNetBIOS);
  const RefPointer<VTSocket::VTIPAddress> address = AddressIn(server);
  bool isLocal = false;
  if (address) {
    IsLocalIPAddress(address, &isLocal);
  } else {
    isLocal = IsSameName(server, netBios) || IsSameName(server, own.dnsHost) ||
              IsSameName(server, own.fullName);
  }
  steps.Add(address ? stepOwnAddress : stepOwnName, isLocal);
  if (format == computerNameNoConversion) return {std::nullopt, isLocal};
  if (!IsKnownFormat(format)) return Failed(kNoUsableName, ERROR_INVALID_PARAMETER);
  return address ? ConvertAddress(*address, server, format, isLocal, own)
                 : ConvertName(server, format, clusterAware, netBios, isLocal, own);
}

struct Holder {
  bool isVirtual = false;
  std::wstring name;  // of the virtual server
  unsigned long error = ERROR_SUCCESS;
};

// Whether a virtual server of the cluster holds the name or address `server`. A cluster that opens
// but cannot be read is no cluster without that name: taken for one, it would make a virtual server
// this machine.
Holder FindHolder(const std::wstring& server) {
  Holder holder;
  std::string ansi;
  if (ToAnsi(server, ansi) != ERROR_SUCCESS) return holder;
  const auto cluster = Cluster::GetInstance();
  if (!cluster || !cluster->Open()) return holder;
  holder.isVirtual = cluster->GetVirtualNameFromIp(holder.name, ansi.c_str());
  if (!holder.isVirtual) holder.error = cluster->GetErrorCode();
  return holder;
}

// Whether a server that is another machine anyway is a virtual one changes its name at most.
bool IsClusterAsked(const Conversion& conversion, _COMPUTER_NAME_FORMAT format) {
  return conversion.result == ERROR_SUCCESS &&
         (conversion.isLocal || format != computerNameNoConversion);
}

// What belongs to a virtual server is not this node, whatever the names said.
Conversion ConvertVirtualServer(const std::wstring& server, const std::wstring& virtualServer,
                                _COMPUTER_NAME_FORMAT format, const LocalNames& own) {
  if (format == computerNameNoConversion) return {};
  if (format == computerNameIpAddress) return {server};
  if (virtualServer.empty()) return Failed(kNoUsableName, kNoName);
  return Converted(ForeignForm(virtualServer, format, own), false);
}

// A server without a name in that form is none for the cluster either: what fails stays failed.
Conversion Convert(const std::wstring& server, _COMPUTER_NAME_FORMAT format, bool clusterAware,
                   const Steps& steps) {
  const std::shared_ptr<const LocalNames> own = RememberedNames();
  Conversion conversion = ConvertServer(server, format, clusterAware, *own, steps);
  if (!clusterAware || !IsClusterAsked(conversion, format)) return conversion;
  const Holder holder = FindHolder(server);
  steps.Add(stepVirtualServer, holder.isVirtual, holder.error, holder.name);
  if (holder.isVirtual) return ConvertVirtualServer(server, holder.name, format, *own);
  return holder.error == ERROR_SUCCESS ? conversion : Failed(kNothingDone, holder.error);
}

}  // namespace

unsigned long VTConvertServerNamePlus(const wcstring& in, wcstring& out,
                                      _COMPUTER_NAME_FORMAT format, bool clusterAware,
                                      bool* isLocal, unsigned long* status, const Steps& steps) {
  if (isLocal) *isLocal = false;
  const bool isUsable = status && isLocal && !ServerIn(in).empty();
  if (!isUsable) {
    out.clear();
    if (status) *status = kInvalidArgument;
    return ERROR_INVALID_PARAMETER;
  }
  *status = kNothingDone;
  wcstring text;
  const unsigned long result = platform::StatusOf<VTSocket::VTSocketError>([&] {
    const std::wstring server(ServerIn(in));
    const Conversion conversion = Convert(server, format, clusterAware, steps);
    if (conversion.name) text = Replaced(in, server, *conversion.name);
    *isLocal = conversion.isLocal;
    *status = conversion.status;
    return conversion.result;
  });
  out = std::move(text);
  return result;
}

}  // namespace net

unsigned long VTConvertServerNamePlus(const wcstring& in, wcstring& out,
                                      _COMPUTER_NAME_FORMAT format, bool clusterAware,
                                      bool* isLocal, unsigned long* status) {
  return net::VTConvertServerNamePlus(in, out, format, clusterAware, isLocal, status,
                                      platform::Steps());
}

}  // namespace vtclass
