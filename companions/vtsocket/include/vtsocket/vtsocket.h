#ifndef VTSOCKET_VTSOCKET_H
#define VTSOCKET_VTSOCKET_H

#include <vtclass/win32.h>

#include <ws2tcpip.h>

#include <exception>

#include "vtclass/ref_pointer.h"
#include "vtclass/strings.h"

#if defined(VTSOCKET_BUILD)
#define VTSOCKET_API __declspec(dllexport)
#else
#define VTSOCKET_API __declspec(dllimport)
#endif

namespace VTSocket {

enum class AddressFamily : int { Any = 0, IPv4 = 2, IPv6 = 23 };

class VTSocketError : public std::exception {
 public:
  explicit VTSocketError(unsigned long code) noexcept : code(code) {}
  unsigned long GetErrorCode() const noexcept { return code; }
  const char* what() const noexcept override { return "socket error"; }

 private:
  unsigned long code;
};

class VTIPAddress : public RefCounted {
 public:
  VTSOCKET_API static RefPointer<VTIPAddress> CreateIPAddress(const wchar_t* text);
  VTSOCKET_API static bool IsIPAddress(const char* text);
  VTSOCKET_API static bool IsLoopback(const sockaddr* address);

  virtual AddressFamily GetFamily() const = 0;
  virtual bool IsLoopback() const = 0;
  virtual bool IsLinkLocal() const = 0;
  virtual bool IsISATAP() const = 0;
  virtual bool IsMulticast() const = 0;
  virtual bool IsV4Compatible() const = 0;
  virtual bool IsV4Mapped() const = 0;
  virtual void GetSocketAddress(sockaddr_storage& address, unsigned short port) const = 0;
  virtual wcstring ToString() const = 0;
  virtual bool operator==(const VTIPAddress& other) const = 0;
};

class VTAddressEnumerator : public RefCounted {
 public:
  virtual bool MoveNext() = 0;
  virtual void Reset() = 0;
  virtual RefPointer<VTIPAddress> GetAddress() const = 0;
};

class VTHostEntries : public RefCounted {
 public:
  virtual bool HasEntries() const = 0;
  virtual const addrinfo* GetAddressList() const = 0;
  virtual RefPointer<VTAddressEnumerator> GetAddressEnumerator(AddressFamily family) const = 0;
};

class VTDnsResolver {
 public:
  VTSOCKET_API static RefPointer<VTHostEntries> GetHostByName(const char* name);
};

class SocketServices {
 public:
  VTSOCKET_API static AddressFamily GetProtocolOfChoice();
};

VTSOCKET_API int GetAddrInfoWithTimeOut(const char* node, const char* service,
                                        const addrinfo* hints, addrinfo** result,
                                        const timeval* timeOut);

}  // namespace VTSocket

VTSOCKET_API void VTSock_SetZPrintf(void (*print)(const char* format, ...));

#endif
