#include "net/local_names.h"

#include <vtcluster/vtcluster.h>
#include <vtsocket/vtsocket.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>

#include "platform/no_throw.h"
#include "vtclass/net.h"

namespace vtclass {

using platform::StatusOf;
using VTSocket::VTSocketError;

namespace net {

namespace {

constexpr DWORD kNameRoom = 1000;

// False when there is no cluster, or when `name` is none of its network names; `*error` is why that
// is not known.
bool NodeBehind(const wcstring& name, std::wstring& node, unsigned long* error = nullptr) {
  const auto cluster = Cluster::GetInstance();
  if (!cluster) return false;
  if (cluster->Open() && cluster->NetworkNameToNodeName(name, node)) return true;
  if (error) *error = cluster->GetErrorCode();
  return false;
}

// The computer's name as the process sees it; throws when memory runs out.
bool ComputerName(wcstring& name) {
  wchar_t buffer[MAX_COMPUTERNAME_LENGTH + 1];
  unsigned long size = ARRAYSIZE(buffer);
  if (!VTGetComputerName(buffer, &size)) return false;
  name.assign(buffer, size);
  return true;
}

// The physical node's name, else the computer's; throws when memory runs out.
bool NodeOrComputerName(wcstring& name, unsigned long* error) {
  if (!ComputerName(name)) return false;
  std::wstring node;
  if (NodeBehind(name, node, error)) name = wcstring(std::move(node));
  return true;
}
bool NodeOrComputerName(wcstring& name) { return NodeOrComputerName(name, nullptr); }

// What throws here is not remembered: the next question fetches the names again.
std::unique_ptr<const LocalNames> FetchNames(unsigned long& error) {
  auto names = std::make_unique<LocalNames>();
  NodeOrComputerName(names->node, &error);
  names->dnsHost = SystemName(ComputerNameDnsHostname);
  names->fullName = SystemName(ComputerNameDnsFullyQualified);
  return names;
}

constinit std::atomic<const LocalNames*> remembered{nullptr};

[[gnu::destructor]] void Forget() { delete remembered.exchange(nullptr); }

// What `ask` answers; false with the thread's last error where it throws.
template <typename Ask>
bool Succeeds(Ask ask) noexcept {
  bool answer = false;
  const DWORD failure = StatusOf<VTSocketError>([&] { answer = ask(); });
  if (failure != ERROR_SUCCESS) ::SetLastError(failure);
  return answer;
}

// 1 and the name that `fetch` puts into `out`; otherwise 0, and `out` is empty.
int Fetched(wcstring& out, bool (*fetch)(wcstring&)) {
  out.clear();
  if (Succeeds([&] { return fetch(out); })) return 1;
  out.clear();
  return 0;
}

bool NodeName(std::wstring& node) {
  wcstring name;
  return ComputerName(name) && NodeBehind(name, node);
}

}  // namespace

wcstring SystemName(COMPUTER_NAME_FORMAT format) {
  wchar_t buffer[kNameRoom];
  DWORD size = kNameRoom;
  if (!::GetComputerNameExW(format, buffer, &size)) return {};
  return {buffer, size};
}

// Without a lock, and without a static object that the compiler guards: a thread that is killed
// while it fetches must not keep the others from it. Of several that come first, the first to end
// counts.
std::shared_ptr<const LocalNames> RememberedNames() {
  // What is remembered lives as long as the library, and is not counted.
  const std::shared_ptr<const void> uncounted;
  const LocalNames* names = remembered.load(std::memory_order_acquire);
  if (names) return {uncounted, names};
  unsigned long error = ERROR_SUCCESS;
  std::unique_ptr<const LocalNames> fetched = FetchNames(error);
  if (error != ERROR_SUCCESS) return fetched;
  if (remembered.compare_exchange_strong(names, fetched.get())) names = fetched.release();
  return {uncounted, names};
}

}  // namespace net

unsigned long VTGetFQDN(wcstring& out) {
  wchar_t name[256];
  DWORD size = ARRAYSIZE(name);
  if (!::GetComputerNameExW(ComputerNameDnsFullyQualified, name, &size)) return ::GetLastError();
  return StatusOf<VTSocketError>([&] { out.assign(name, size); });
}

int GetComputerNameInString(wcstring& out) { return net::Fetched(out, &net::ComputerName); }

int GetComputerNodeName(wcstring& out) { return net::Fetched(out, &net::NodeOrComputerName); }

int GetComputerNodeName(wchar_t* buffer, unsigned long* size) {
  if (!size) {
    ::SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  std::wstring node;
  if (!net::Succeeds([&] { return net::NodeName(node); })) {
    return net::Succeeds([&] { return VTGetComputerNameW(buffer, size) != 0; });
  }
  const std::size_t room = buffer ? *size : 0;
  if (room > 0) {
    const std::size_t copied = std::min(node.size(), room - 1);
    node.copy(buffer, copied);
    buffer[copied] = L'\0';
  }
  *size = static_cast<unsigned long>(node.size());
  return room > node.size();
}

}  // namespace vtclass
