#ifndef VTCLASS_NET_H
#define VTCLASS_NET_H

#include <vtsocket/vtsocket.h>

#include "vtclass/border.h"
#include "vtclass/export.h"
#include "vtclass/ref_pointer.h"
#include "vtclass/steps.h"
#include "vtclass/strings.h"

/*
 * Does this name or address denote this machine? And: this name in another form, please.
 *
 *   bool isMe = false;
 *   const unsigned long status = vtclass::IsThisMeEx(L"\\\\BACKUP01", &isMe, true, 0);
 *
 * Names: a server name may be a NetBIOS name, a DNS host name, a fully qualified name, an address
 * text, or a UNC path that begins with one of them. What is left when all leading backslashes are
 * taken away, up to the next backslash, is "the server" below; a text without one (empty, or
 * backslashes only) is an empty name. Names are compared without regard to case. A name with a zero
 * inside equals no name and is never an address.
 *
 * Answers: "yes or no" comes through the `bool*`, which is false unless the answer is yes, also on
 * every failure. The result is a Win32 or Winsock code, 0 for success; 87 for a null argument or an
 * empty name, 8 when memory runs out, and the sockets library's code when it fails. Nothing is
 * thrown, except by IsIpAddrLocal and SplitUncPath.
 *
 * Installation: vtsocket.dll and vtcluster.dll lie in the folder of this library, and nowhere else
 * are they looked for. They load when they are first needed, with the rights of the process, also
 * on a thread that impersonates an account, and are unloaded with this library. One that cannot be
 * loaded gives the loader's code as the result (126: missing, 193: damaged), one of another release
 * 127; IsThisMe says no then, and IsThisMeEx that it cannot tell.
 *
 * Remembered: this machine's node name, DNS host name and fully qualified name are fetched at the
 * first conversion and kept as long as the library stays loaded, and so is the DNS query time-out.
 * Contract: a machine that is renamed, or a changed setting, shows after a restart of the process.
 * Agents rely on one identity for the whole of a job.
 *
 * Threads: any function on any thread, also at once; there is no state besides what is remembered.
 * A thread that is killed in one of them does not keep the others from it.
 */
namespace vtclass {

/*
 * The form that VTConvertServerNamePlus is asked for. The first three numbers are the platform's
 * own (COMPUTER_NAME_FORMAT); all numbers that are not here are refused. The platform's type has
 * the same name outside of this namespace, so write this one with its namespace.
 */
// NOLINTNEXTLINE(clang-diagnostic-reserved-identifier): the interface has this name
enum _COMPUTER_NAME_FORMAT : int {
  computerNameNetBIOS = 0,           /* 15 characters at most */
  computerNameDnsHostname = 1,       /* the first label */
  computerNameDnsFullyQualified = 3, /* with the domain */
  computerNameIpAddress = 8,         /* the text of an address */
  computerNameNoConversion = 9       /* only whether the name is this machine's */
};

/*
 * The fast test: does `name` denote this machine, without asking DNS for aliases?
 *
 * 0: the answer is settled. `*isMe` is true for one of this machine's names or addresses; or the
 * name has the shape of a RAC virtual node, and `*isMe` tells whether it is one of this machine's.
 * With `clusterAware` a name that a cluster's virtual server holds is not this machine. Where the
 * cluster is open but cannot be read the answer for a name or address that it might hold is "no",
 * with the platform's code: it is not known then. A cluster that cannot be opened is none.
 * Contract: a plain "no" is 87 with `*isMe` false, the same as a null `isMe`. Callers take every
 * other result than 0 for "not this machine".
 */
VTCLASS_API unsigned long IsThisMe(const wcstring& name, bool* isMe, bool clusterAware);

/*
 * The full test, the one to prefer: IsThisMe, and when that does not say yes, whether the name is
 * an alias of this machine (IsThisAnAliasForMe), whose result it then has: 0 for "no" too. Where
 * IsThisMe cannot tell (a result that is neither 0 nor 87) its code is the result, and DNS is not
 * asked.
 *
 * `timeoutMs` limits the DNS query, in milliseconds; -1 is no limit, and other negative numbers and
 * those above 2,147,483 (36 minutes) count as that one. 0 takes the product's setting,
 * the DWORD "DnsQueryTimeOut" of the key Network\TcpIp below the product's root: 1000 to 60000, or
 * 0xFFFFFFFF for no limit. Anything else counts as 5000; so does a key that is missing or may not
 * be read, and a missing value, which is written back as 5000 where the key may be written.
 * Warning: in a cluster the alias test can say yes where IsThisMe says no. The name of a virtual
 * server whose address lies on this node now is, to DNS, a name of this machine. Whoever must tell
 * the node from the virtual servers that it holds asks IsThisMe with `clusterAware`.
 * Contract: the alias test gets `name` as it is, up to its first zero: two leading backslashes are
 * skipped there, but a share behind the server is not cut off and makes the name unknown. Callers
 * split a path first (SplitUncPath).
 */
VTCLASS_API unsigned long IsThisMeEx(const wcstring& name, bool* isMe, bool clusterAware,
                                     int timeoutMs);

/* What a step of IsThisMeEx asks; its answer is 1 for yes, 0 for no. */
enum IdentityStep : int {
  stepOwnName,       /* is the server one of this machine's names? */
  stepOwnAddress,    /* is it one of this machine's addresses? */
  stepVirtualServer, /* with `clusterAware`: does a virtual server hold it? the text is whose name
                      */
  stepRacNode,       /* is it the virtual node of one of this machine's RAC databases? */
  stepRacShape,      /* if not, has it the shape of a virtual node? */
  stepOwnDnsName,    /* yes: it is this machine's own DNS name, which is no alias */
  stepDnsHost,       /* is its canonical name, the text, this machine's? A code: there is none */
  stepDnsAddress /* is an address of that host, the text, a loopback or one of this machine's? */
};

/* IsThisMeEx with the steps that led to the answer, in their order, in place of what `steps` held.
 * 8, without an answer and without steps, also when the steps find no memory. */
inline unsigned long IsThisMeExWithSteps(const wcstring& name, bool* isMe, bool clusterAware,
                                         int timeoutMs, std::vector<Step>& steps);

/*
 * Does DNS (or the hosts file) know `name` as another name of this machine? True when its canonical
 * name is this machine's fully qualified name, when one of its addresses is a loopback address, or
 * when one of them is an address of this machine.
 *
 * `name` is in the ANSI code page, with or without two leading backslashes. `timeout` points to the
 * limit of the query in milliseconds; null is no limit. It is only read.
 *
 * 0: answered. A host that DNS does not know is no alias; nor is an address text.
 * Contract: nor is the machine's own DNS host name or fully qualified name. Callers ask IsThisMe
 * for these first.
 * 10060: no answer in time. 87 also when DNS answers without a canonical name. Other codes are the
 * resolver's or the platform's; 11001 (host not found) is never one of them.
 */
VTCLASS_API unsigned long IsThisAnAliasForMe(const char* name, bool* isMe, unsigned long* timeout);

/* The same for UTF-16 text. A name that the ANSI code page cannot hold exactly is no alias, and
 * the result is 0xFFFFFFFF; 87 when the platform refuses to convert it. */
VTCLASS_API unsigned long IsThisAnAliasForMe(const wchar_t* name, bool* isMe,
                                             unsigned long* timeout);

/* This machine's fully qualified DNS name, asked for afresh. On failure the platform's code, and
 * `out` is unchanged. A name of more than 255 characters is a failure (234). */
VTCLASS_CLIENT unsigned long VTGetFQDN(wcstring& out);

/*
 * Converts the server of `in` into `format`, and tells through `*isLocal` whether it is this
 * machine. `out` becomes the whole of `in` with every occurrence of the server replaced, so a UNC
 * path keeps its backslashes and its tail; `in` and `out` may be one object.
 *
 * The forms of this machine are those that the platform knows. Of a foreign name they are cut
 * (NetBIOS, first label) or, where it holds no dot, extended by this machine's own domain. Of a
 * foreign address they come from a reverse lookup. The address of a name is that of
 * GetAnyIpAddress; an address stays as it is.
 *
 * `clusterAware`: a name or address that a cluster's virtual server holds is converted into the
 * forms of the virtual server's name, and is not local. What cannot be converted without a cluster,
 * such as an address without a reverse entry, fails all the same. In the NetBIOS form a name that
 * this machine holds only for its cluster is not local either. The cluster is read once at most,
 * and not for this machine's own names nor for what is another machine's anyway; the first
 * conversion of a process that a cluster has started looks up the node's name besides.
 *
 * `*status` tells more than the result; on all failures `out` is empty:
 *   0  converted                                             result 0
 *   1  no usable name in that form                           result 1
 *   1  format not supported; `*isLocal` is false             result 87
 *   2  `isLocal` is null or the name is empty                result 87
 *   3  the reverse lookup failed                             result: the socket error, never 0
 *   4  memory ran out before anything was done               result 8
 *   4  the cluster is open, but cannot be read               result: the platform's code, never 0
 * With `status` null the result is 87. `*isLocal` is cleared first wherever it is given.
 * With computerNameNoConversion `out` is always empty, and 0 means that `*isLocal` is the answer.
 */
VTCLASS_CLIENT unsigned long VTConvertServerNamePlus(const wcstring& in, wcstring& out,
                                                     _COMPUTER_NAME_FORMAT format,
                                                     bool clusterAware, bool* isLocal,
                                                     unsigned long* status);

/*
 * An address of the server of `name`, as a text; empty when there is none, and on every failure.
 * Addresses of the machine's preferred family come first, then the others; in each group first
 * those that are not loopback, link-local, ISATAP, multicast, IPv4-compatible or IPv4-mapped. The
 * name server's time limits apply.
 */
VTCLASS_CLIENT wcstring GetAnyIpAddress(const wcstring& name);

/* True when `text` is an IPv4 or IPv6 address. Null is none. */
VTCLASS_API bool IsIpAddr(const wchar_t* text);

/*
 * True when the address `text` belongs to this machine, loopback included; false also when this
 * machine's addresses cannot be listed.
 * Contract: throws an `int`, the sockets library's code, when `text` is no address. Callers that
 * have not asked IsIpAddr catch it.
 */
VTCLASS_CLIENT bool IsIpAddrLocal(const wchar_t* text);

/*
 * 0 and `*isLocal` true when `address` is one of this machine's addresses; port and scope do not
 * count. 1 when it is none, or the sockets library's code.
 * Contract: without a match `*isLocal` is left alone, as callers ask for several addresses in turn
 * with one flag.
 */
VTCLASS_API unsigned long IsLocalIPAddress(const RefPointer<VTSocket::VTIPAddress>& address,
                                           bool* isLocal);

/*
 * True when `name` is the virtual node of one of this machine's RAC databases ("RAC", the database
 * and its identifier with dashes between; `*isMe` is true then), or has at least the shape of one:
 * it begins with "RAC", has two dashes or more, and only digits or nothing behind the last.
 * `name` is taken as it is; what follows the identifier does not count. Null `isMe` is skipped.
 * False when memory runs out.
 */
VTCLASS_API bool IsOracleRACVNodeName(const wcstring& name, bool* isMe);

/* The computer's name as this process sees it; not 0 on success. On failure `out` is empty. */
VTCLASS_CLIENT int GetComputerNameInString(wcstring& out);

/* The name of the physical node: the computer's name, unless that is a network name of a cluster,
 * which names its node. 0 and `out` empty only when the computer's name is not to be had or memory
 * runs out. */
VTCLASS_CLIENT int GetComputerNodeName(wcstring& out);

/*
 * The same into `*size` characters at `buffer`, terminated; a longer name is cut. `*size` becomes
 * the length of the whole name. Not 0 when the whole name fitted with its terminator.
 * Contract: in a cluster a name that does not fit is cut and `*size` does not count the terminator.
 * Without one the platform's own rules for GetComputerNameW hold: nothing is written, and `*size`
 * counts it.
 */
VTCLASS_API int GetComputerNodeName(wchar_t* buffer, unsigned long* size);

/*
 * Splits a UNC path. 1: `server` is all before the third backslash, `share` what follows it up to
 * the next one, perhaps empty. 0: `path` is none (shorter than 5 characters, without two leading
 * backslashes, or without another one), and both are empty. `path` may be one of them.
 * Contract: `server` keeps its two leading backslashes. Every function here that takes a server
 * name accepts them, and callers build paths from it.
 * Throws std::bad_alloc; the outputs are then unchanged.
 */
inline int SplitUncPath(const wcstring& path, wcstring& server, wcstring& share);

/* Hands `print` to the sockets library as its trace routine; null takes it away (see
 * VTSock_SetZPrintf). */
VTCLASS_API void Set_VTSockZPrintf(void (*print)(const char* format, ...));

}  // namespace vtclass

#include "vtclass/client/net.h"

#endif
