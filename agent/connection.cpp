#include "agent/connection.h"

#include <winnetwk.h>

#include <algorithm>

#include "platform/bound_function.h"
#include "platform/failure_code.h"

namespace vtclass::agent {

namespace {

// Bound at the first call: most hosts look at their own machine alone.
constinit platform::BoundFunction<decltype(::WNetAddConnection2W)> addConnection(
    L"mpr.dll", "WNetAddConnection2W", ERROR_PROC_NOT_FOUND);
constinit platform::BoundFunction<decltype(::WNetCancelConnection2W)> cancelConnection(
    L"mpr.dll", "WNetCancelConnection2W", ERROR_PROC_NOT_FOUND);

DWORD WhyMissing() noexcept { return platform::FailureCode(ERROR_PROC_NOT_FOUND); }

}  // namespace

std::wstring MachineOf(std::wstring_view server) {
  server.remove_prefix(std::min(server.find_first_not_of(L'\\'), server.size()));
  const std::wstring_view name = server.substr(0, server.find(L'\\'));
  return name.empty() ? std::wstring() : L"\\\\" + std::wstring(name);
}

DWORD ConnectShare(std::wstring& share, const wchar_t* user, const wchar_t* password) noexcept {
  NETRESOURCEW resource = {};
  resource.dwType = RESOURCETYPE_ANY;
  resource.lpRemoteName = share.data();
  return addConnection.Get() ? addConnection(&resource, password, user, 0) : WhyMissing();
}

DWORD DisconnectShare(const std::wstring& share) noexcept {
  return cancelConnection.Get() ? cancelConnection(share.c_str(), 0, FALSE) : WhyMissing();
}

}  // namespace vtclass::agent
