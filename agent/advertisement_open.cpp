#include "agent/connection.h"
#include "agent/installation.h"
#include "agent/open_status.h"
#include "config/product_keys.h"
#include "platform/no_throw.h"
#include "vtclass/agent.h"

using vtclass::agent::CheckService;
using vtclass::agent::CheckVersion;
using vtclass::agent::ConnectionFailed;
using vtclass::agent::ConnectShare;
using vtclass::agent::DisconnectShare;
using vtclass::agent::MachineOf;
using vtclass::agent::Outcome;
using vtclass::agent::RegistryFailed;
using vtclass::agent::WhyNoAgentsKey;
using vtclass::platform::StatusOf;

namespace {

Outcome Connect(const std::wstring& machine, std::wstring& share, const wchar_t* user,
                const wchar_t* password) {
  // Backslashes alone: the system would take a text without a name for this machine.
  if (machine.empty()) return ConnectionFailed(ERROR_INVALID_PARAMETER);
  share = machine + L"\\IPC$";
  const DWORD code = ConnectShare(share, user, password);
  return code == ERROR_SUCCESS ? Outcome{} : ConnectionFailed(code);
}

Outcome OpenKey(Configuration& config, const std::wstring& machine, unsigned int accessWord) {
  if (config.Open(Configuration::openExisting, vtclass::config::kAgentsKey.Path(), machine.c_str(),
                  accessWord | Configuration::access64BitView)) {
    return {};
  }
  const auto code = static_cast<unsigned long>(config.GetErrorCode());
  return code == ERROR_FILE_NOT_FOUND ? WhyNoAgentsKey(machine) : RegistryFailed(code);
}

}  // namespace

AgentAdvConfig::AgentAdvConfig() noexcept = default;

AgentAdvConfig::~AgentAdvConfig() { Close(); }

unsigned long AgentAdvConfig::Open(const wchar_t* server, const wchar_t* user,
                                   const wchar_t* password, unsigned int accessWord) noexcept {
  Close();
  Outcome outcome;
  const unsigned long noMemory = StatusOf([&] {
    std::wstring machine;
    if (server && *server) {
      machine = MachineOf(server);
      outcome = Connect(machine, ipcPath, user, password);
      connected = outcome.status == ERROR_SUCCESS;
    }
    if (outcome.status == ERROR_SUCCESS) outcome = OpenKey(config, machine, accessWord);
    keyOpen = outcome.status == ERROR_SUCCESS;
    if (outcome.status == ERROR_SUCCESS) outcome = CheckVersion(machine);
    if (outcome.status == ERROR_SUCCESS) outcome = CheckService(machine);
  });
  if (noMemory != ERROR_SUCCESS) outcome = {noMemory};
  if (outcome.status == ERROR_SUCCESS) return ERROR_SUCCESS;
  errorCode = outcome.code != ERROR_SUCCESS ? outcome.code : outcome.status;
  return outcome.status;
}

unsigned long AgentAdvConfig::Close() noexcept {
  // Not only an open key: one that could not be opened leaves the connection to its registry.
  config.Close();
  keyOpen = false;
  if (connected) {
    connected = false;
    const DWORD code = DisconnectShare(ipcPath);
    if (code != ERROR_SUCCESS) errorCode = code;
  }
  return ERROR_SUCCESS;
}
