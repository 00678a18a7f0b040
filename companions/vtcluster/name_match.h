#ifndef VTCLUSTER_NAME_MATCH_H
#define VTCLUSTER_NAME_MATCH_H

#include <string>
#include <string_view>

#include "companions/vtcluster/host_names.h"
#include "platform/same_name.h"

namespace vtcluster {

using vtclass::platform::IsSameName;

/* `text` begins with `start`, without regard to case. */
bool BeginsWith(std::wstring_view text, std::wstring_view start) noexcept;

/* A server name without leading backslashes. */
std::wstring WithoutBackslashes(const wchar_t* name);

/* NamesHost with the DNS domain of this machine, which is the one of all nodes of its cluster. */
bool NamesHost(std::wstring_view name, std::wstring_view host);

/* A name of this machine itself, whatever name of a cluster a program sees as the computer's. No
 * network name of a cluster is one, as the names of machines are unique. */
bool NamesThisNode(std::wstring_view name);

}  // namespace vtcluster

#endif
