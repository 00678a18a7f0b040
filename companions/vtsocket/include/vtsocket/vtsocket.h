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

/*
 * Addresses and host names: what an address text denotes, the addresses of a host or of this
 * machine, and a resolver call with a time limit.
 *
 *   RefPointer<VTHostEntries> host = VTDnsResolver::GetHostByName("backup1");
 *   RefPointer<VTAddressEnumerator> each = host->GetAddressEnumerator(AddressFamily::IPv4);
 *   while (each->MoveNext()) use(each->GetAddress()->ToString());
 *
 * Loading the library starts nothing and loads no Winsock. The first look-up starts Winsock for the
 * process and leaves it started: nobody need call WSAStartup before, and the library never takes it
 * away from others.
 *
 * Failures: where a class has no other way, VTSocketError with a Winsock or Win32 code. What makes
 * an object or a text throws std::bad_alloc when memory runs out. Nothing else is thrown.
 *
 * Threads: the static and free functions may be called on any thread, though not while a DLL is
 * loaded or freed (DllMain), as is true of Winsock. Addresses and host entries never change and may
 * be shared; an enumerator belongs to one thread at a time.
 */
namespace VTSocket {

/* The values are those of Winsock's AF_ constants. */
enum class AddressFamily : int { Any = 0, IPv4 = 2, IPv6 = 23 };

/* Complete here, so that a module that catches it needs nothing of the library. */
class VTSocketError : public std::exception {
 public:
  explicit VTSocketError(unsigned long code) noexcept : code(code) {}

  /* A Winsock code (11001: no such host) or a Win32 code; never 0. */
  unsigned long GetErrorCode() const noexcept { return code; }

  const char* what() const noexcept override { return "socket error"; }

 private:
  unsigned long code;
};

/* One IPv4 or IPv6 address without a port. Immutable. */
class VTIPAddress : public RefCounted {
 public:
  /*
   * The address that `text` denotes, the whole of it: four decimal numbers without leading zeros,
   * or an IPv6 text of RFC 4291 in either case, also with an IPv4 text at its end, and with a
   * decimal scope id behind "%". Blanks, brackets, ports, prefix lengths, hexadecimal or octal
   * numbers and shortened IPv4 forms ("127.1") are no address.
   * Throws VTSocketError with WSAEINVAL (10022) for any other text, null and "" among them.
   */
  VTSOCKET_API static RefPointer<VTIPAddress> CreateIPAddress(const wchar_t* text);

  /* True for a text that CreateIPAddress takes; null is none. Never throws. */
  VTSOCKET_API static bool IsIPAddress(const char* text);

  /*
   * As the member of that name; false for null and for another family than IPv4 and IPv6.
   * Requires: `address` is as long as its family says. Never throws.
   */
  VTSOCKET_API static bool IsLoopback(const sockaddr* address);

  /* IPv4 or IPv6; an IPv4-mapped address is IPv6. */
  virtual AddressFamily GetFamily() const = 0;

  /* 127.0.0.0/8, ::1, and ::ffff:127.0.0.0/104, which leads to the former. */
  virtual bool IsLoopback() const = 0;

  /* 169.254.0.0/16, fe80::/10. */
  virtual bool IsLinkLocal() const = 0;

  /* IPv6 with the interface id 0000:5efe or 0200:5efe before an IPv4 address. */
  virtual bool IsISATAP() const = 0;

  /* 224.0.0.0/4, ff00::/8. */
  virtual bool IsMulticast() const = 0;

  /* ::a.b.c.d without :: and ::1. */
  virtual bool IsV4Compatible() const = 0;

  /* ::ffff:a.b.c.d. */
  virtual bool IsV4Mapped() const = 0;

  /* Fills the whole of `address` with the address and `port`, which is in host order. The scope id
   * goes in, flow information is 0. */
  virtual void GetSocketAddress(sockaddr_storage& address, unsigned short port) const = 0;

  /*
   * The text of the address: IPv4 as four numbers; IPv6 as in RFC 5952, lower case and shortened,
   * its last two groups as four numbers where they are known to hold an IPv4 address. "%" and the
   * scope id follow unless it is 0. CreateIPAddress reads it back as the same address.
   */
  virtual wcstring ToString() const = 0;

  /* The same family and the same 32 or 128 bits. The scope id is ignored. */
  virtual bool operator==(const VTIPAddress& other) const = 0;
};

/* Walks the addresses of host entries. Stands before the first one until MoveNext is called. */
class VTAddressEnumerator : public RefCounted {
 public:
  /* To the next address of the enumerator's family; false when there is no more, and from then on
   * until Reset. */
  virtual bool MoveNext() = 0;

  /* Back before the first address. */
  virtual void Reset() = 0;

  /* The address where the enumerator stands, a new object at each call; null before the first and
   * behind the last one. */
  virtual RefPointer<VTIPAddress> GetAddress() const = 0;
};

/* The answer to one look-up. */
class VTHostEntries : public RefCounted {
 public:
  /* True when there is at least one entry. */
  virtual bool HasEntries() const = 0;

  /* The entries in the resolver's order, null when there are none. They live as long as this
   * object, which frees them; ports are 0. */
  virtual const addrinfo* GetAddressList() const = 0;

  /* Walks the entries of `family`, or with `Any` all of IPv4 and IPv6. The enumerator keeps these
   * entries alive, so it may outlive the caller's reference. */
  virtual RefPointer<VTAddressEnumerator> GetAddressEnumerator(AddressFamily family) = 0;
};

class VTDnsResolver {
 public:
  /*
   * The addresses of the host `name`, a name or an address text in the ANSI code page, one entry
   * for each address. Asks the system's resolver and waits as long as it takes.
   *
   * "..localmachine" (in this spelling) is this machine without the resolver: all addresses that
   * its adapters hold, link-local ones included, then the loopback addresses 127.0.0.1 and ::1
   * where no adapter has them. There are always entries.
   * "" and null are what the resolver takes as its own host.
   *
   * Throws VTSocketError with the resolver's code: 11001 for an unknown name, 11002 when no server
   * answers. Never returns null.
   */
  VTSOCKET_API static RefPointer<VTHostEntries> GetHostByName(const char* name);
};

class SocketServices {
 public:
  /*
   * The family to prefer for an address that others shall use: IPv6 where this machine has IPv6
   * addresses for more than the own link and no such IPv4 address, otherwise IPv4, also when the
   * addresses cannot be read. Asked afresh at each call, since addresses come and go. Never throws.
   */
  VTSOCKET_API static AddressFamily GetProtocolOfChoice();
};

/*
 * getaddrinfo with a time limit: the same arguments, the same answer, which is released with plain
 * freeaddrinfo, and the same codes, also as the thread's last error. `*result` is null after a
 * failure. A null `result` gives WSAEFAULT (10014).
 *
 * `timeout` null: no limit, and the resolver runs on the caller's thread. Otherwise seconds and
 * microseconds are added up, begun milliseconds count; without an answer by then the result is
 * WSAETIMEDOUT (10060). Nothing or less is a limit too: the name is not asked for.
 * Contract: the microseconds may exceed a million. Callers put all their milliseconds there.
 *
 * A null node, an address text without a scope id and AI_NUMERICHOST ask no server: they are
 * answered on the caller's thread whatever the limit. Every other call with a limit runs on a
 * thread of the library's; these start on demand and end after two idle seconds. A resolver that
 * hangs costs the caller its limit and no more; its late answer is freed. While it hangs it keeps
 * its thread and keeps this library in memory. The threads act under the process's identity, not
 * under one that the caller impersonates.
 *
 * At most 16 look-ups run for callers who still wait; more callers wait for their turn within their
 * own limits. What a caller has given up does not count among the 16, up to 64 threads in all. Of
 * equal questions one runs first: the others fail with it, also when it was given up long ago, and
 * run all at once when it succeeds. So a silent name, however often it is asked for, leaves room
 * for others; 64 different silent names leave none.
 *
 * A thread that is killed in this call costs no other caller more than the place of its look-up,
 * and that no longer than its limit.
 *
 * Fails with WSA_NOT_ENOUGH_MEMORY (8) when memory runs out, and at once when a thread is needed
 * and none starts. Never throws.
 */
VTSOCKET_API int GetAddrInfoWithTimeOut(const char* node, const char* service,
                                        const addrinfo* hints, addrinfo** result,
                                        const timeval* timeout);

}  // namespace VTSocket

/*
 * Sends the library's traces, failed look-ups above all, to `print`: each call is one line without
 * a line feed, as printf takes it. Null, as at the start: they go nowhere. `print` is called on
 * whatever thread fails and must not throw.
 * Requires: `print` stays callable until the process ends, because a thread may be in it while
 * another one takes it away.
 */
VTSOCKET_API void VTSock_SetZPrintf(void (*print)(const char* format, ...));

#endif
