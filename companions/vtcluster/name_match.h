#ifndef VTCLUSTER_NAME_MATCH_H
#define VTCLUSTER_NAME_MATCH_H

#include <string>
#include <string_view>

namespace vtcluster {

/* Equal without regard to case, as the system compares names of objects: no locale. */
bool SameText(std::wstring_view a, std::wstring_view b) noexcept;

/* `text` begins with `start`, without regard to case. */
bool BeginsWith(std::wstring_view text, std::wstring_view start) noexcept;

/* A server name without leading backslashes. */
std::wstring WithoutBackslashes(const wchar_t* name);

/* The first label of a DNS name. */
std::wstring_view HostPart(std::wstring_view name) noexcept;

/*
 * `name` is the host `host`: the same text, or the host with the DNS domain of this machine, which
 * is the one of all nodes of its cluster. The same host name in another domain is another machine.
 */
bool NamesHost(std::wstring_view name, std::wstring_view host);

/* A name of this machine itself, whatever name of a cluster a program sees as the computer's. No
 * network name of a cluster is one, as the names of machines are unique. */
bool NamesThisNode(std::wstring_view name);

/* An IPv4 or IPv6 address, with or without a scope id. */
bool IsAddress(const std::wstring& text) noexcept;

/* Both texts are the same IPv4 or IPv6 address, whatever its spelling; a scope id does not count.
 */
bool SameAddress(const std::wstring& a, const std::wstring& b) noexcept;

}  // namespace vtcluster

#endif
