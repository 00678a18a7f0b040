#include "tools/vtctl/shared/resolution.h"

#include <vtsocket/vtsocket.h>

#include <memory>

#include "tools/vtctl/shared/system_text.h"
#include "vtclass/net.h"

namespace vtctl {
namespace {

using VTSocket::VTIPAddress;

using AddressList = std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)>;

const struct {
  const wchar_t* note;
  bool (VTIPAddress::*is)() const;
} kKinds[] = {{L"loopback", &VTIPAddress::IsLoopback},
              {L"link-local", &VTIPAddress::IsLinkLocal},
              {L"ISATAP", &VTIPAddress::IsISATAP},
              {L"multicast", &VTIPAddress::IsMulticast},
              {L"IPv4-compatible", &VTIPAddress::IsV4Compatible},
              {L"IPv4-mapped", &VTIPAddress::IsV4Mapped}};

wcstring TextOf(const addrinfo& entry) {
  char text[NI_MAXHOST] = {};
  ::getnameinfo(entry.ai_addr, static_cast<socklen_t>(entry.ai_addrlen), text, sizeof(text),
                nullptr, 0, NI_NUMERICHOST);
  return wcstring(cstring(text));
}

}  // namespace

ResolvedAddress Described(const std::wstring& address, bool isOwn) {
  ResolvedAddress described = {address, {}, isOwn, false};
  if (!vtclass::IsIpAddr(address.c_str())) return described;
  if (isOwn) described.notes.emplace_back(L"this machine");
  const auto parsed = VTIPAddress::CreateIPAddress(address.c_str());
  described.isLoopback = parsed->IsLoopback();
  for (const auto& kind : kKinds) {
    if ((parsed.get()->*kind.is)()) described.notes.emplace_back(kind.note);
  }
  return described;
}

Resolution Resolve(const std::wstring& name, unsigned long timeout) {
  addrinfo hints = {};
  hints.ai_flags = AI_CANONNAME;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_protocol = IPPROTO_TCP;
  timeval limit = {};
  limit.tv_sec = static_cast<long>(timeout / 1000);
  limit.tv_usec = static_cast<long>(timeout % 1000) * 1000;
  addrinfo* found = nullptr;
  Resolution resolution;
  const cstring ansi{wcstring(name)};
  if (wcstring(ansi) != name) {
    // The resolver would be asked for a look-alike, which may be another host.
    resolution.error = WSAHOST_NOT_FOUND;
    return resolution;
  }
  resolution.error = static_cast<unsigned long>(VTSocket::GetAddrInfoWithTimeOut(
      ansi.c_str(), nullptr, &hints, &found, timeout != 0 ? &limit : nullptr));
  const AddressList list(found, &::freeaddrinfo);
  if (resolution.error != 0 || !list) return resolution;
  if (list->ai_canonname) resolution.canonicalName = wcstring(cstring(list->ai_canonname));
  for (const addrinfo* entry = list.get(); entry; entry = entry->ai_next) {
    const wcstring text = TextOf(*entry);
    const bool isOwn = vtclass::IsIpAddr(text.c_str()) && vtclass::IsIpAddrLocal(text.c_str());
    resolution.addresses.push_back(Described(text, isOwn));
  }
  return resolution;
}

std::wstring ResolverText(unsigned long code) {
  if (code == WSAETIMEDOUT) return L"no answer came in time (" + std::to_wstring(code) + L")";
  // The system's own words for it say that there is no such host.
  if (code == WSATRY_AGAIN) {
    return L"no name server gave an answer (" + std::to_wstring(code) + L")";
  }
  return SystemText(code);
}

std::wstring AddressLine(const ResolvedAddress& address) {
  std::wstring notes;
  for (const std::wstring& note : address.notes) notes += (notes.empty() ? L" (" : L", ") + note;
  return address.text + notes + (notes.empty() ? L"" : L")");
}

std::wstring ServerOf(const std::wstring& name) {
  wcstring server;
  wcstring share;
  if (!vtclass::SplitUncPath(name, server, share)) server = name;
  const size_t begin = server.find_first_not_of(L'\\');
  return begin == std::wstring::npos ? L"" : server.substr(begin);
}

}  // namespace vtctl
