#ifndef VTCLASS_AGENT_CONNECTION_H
#define VTCLASS_AGENT_CONNECTION_H

#include <vtclass/win32.h>

#include <string>
#include <string_view>

namespace vtclass::agent {

/* The machine that `server` names, as the system takes it: "\\SRV" for "SRV", "\\SRV" and
 * "\\SRV\share"; empty where no name is in it. */
std::wstring MachineOf(std::wstring_view server);

/* Connect this logon session to a share, and end that. Both return the system's status. */
DWORD ConnectShare(std::wstring& share, const wchar_t* user, const wchar_t* password) noexcept;
DWORD DisconnectShare(const std::wstring& share) noexcept;

}  // namespace vtclass::agent

#endif
