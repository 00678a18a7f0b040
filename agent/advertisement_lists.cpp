#include "agent/name_list.h"
#include "config/multi_string.h"
#include "config/registry_values.h"
#include "platform/no_throw.h"
#include "vtclass/agent.h"

using namespace vtclass::config;
using vtclass::border::ListSink;
using vtclass::platform::StatusOf;

namespace {

bool TellsWantOfMemory(long status) noexcept {
  return status == ERROR_NOT_ENOUGH_MEMORY || status == ERROR_OUTOFMEMORY ||
         status == ERROR_NO_SYSTEM_RESOURCES || status == ERROR_COMMITMENT_LIMIT;
}

}  // namespace

unsigned long AgentAdvConfig::ReadList(List list, ListSink out) noexcept {
  // In the order of List.
  constexpr const RegistryValue* values[] = {&kMediaServers, &kPurgeServers, &kPublishedNames};
  const bool isRead = config.LoadList(values[static_cast<std::size_t>(list)]->name, out);
  return isRead || config.GetErrorCode() == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : Finished(false);
}

unsigned long AgentAdvConfig::SetMediaServerAdvList(std::vector<wcstring>& servers) noexcept {
  return Finished(config.Save(kMediaServers.name, servers));
}

unsigned long AgentAdvConfig::SetMediaServerPurgeList(std::vector<wcstring>& servers) noexcept {
  return Finished(config.Save(kPurgeServers.name, servers));
}

unsigned long AgentAdvConfig::SetMyPublishedNamesList(std::vector<wcstring>& names) noexcept {
  return Finished(config.Save(kPublishedNames.name, names));
}

unsigned long AgentAdvConfig::TakeOut(const wchar_t* value, const wchar_t* name,
                                      std::wstring& others, bool& found) noexcept {
  found = false;
  if (!name || !*name) return Failed(ERROR_INVALID_PARAMETER);
  std::wstring stored;
  // What cannot be read counts as empty, on purpose. The list that did not fit into memory is not
  // unreadable: it would be lost.
  const bool isRead = config.LoadStored(value, stored);
  if (!isRead && TellsWantOfMemory(config.GetErrorCode())) return Finished(false);
  const unsigned long noMemory =
      StatusOf([&] { found = vtclass::agent::TakeOut(stored, name, others); });
  return noMemory == ERROR_SUCCESS ? ERROR_SUCCESS : Failed(noMemory);
}

unsigned long AgentAdvConfig::Store(const wchar_t* value, std::wstring& packed) noexcept {
  packed.push_back(L'\0');
  const auto size = StoredSize(packed.size());
  if (!size) return Failed(ERROR_INVALID_PARAMETER);
  return Finished(config.SaveRaw(value, reinterpret_cast<const unsigned char*>(packed.data()),
                                 *size, REG_MULTI_SZ));
}

unsigned long AgentAdvConfig::InString(const wchar_t* value, const wchar_t* name,
                                       bool& found) noexcept {
  std::wstring others;
  return TakeOut(value, name, others, found);
}

unsigned long AgentAdvConfig::AddString(const wchar_t* value, const wchar_t* name,
                                        bool& alreadyPresent) noexcept {
  std::wstring names;
  const unsigned long failure = TakeOut(value, name, names, alreadyPresent);
  if (failure != ERROR_SUCCESS || alreadyPresent) return failure;
  names.append(name).push_back(L'\0');
  return Store(value, names);
}

unsigned long AgentAdvConfig::DelString(const wchar_t* value, const wchar_t* name,
                                        bool& notPresent) noexcept {
  std::wstring others;
  bool found = false;
  const unsigned long failure = TakeOut(value, name, others, found);
  notPresent = !found;
  return found ? Store(value, others) : failure;
}

unsigned long AgentAdvConfig::AddPublishedNameToList(const wchar_t* name,
                                                     bool& alreadyPresent) noexcept {
  return AddString(kPublishedNames.name, name, alreadyPresent);
}

unsigned long AgentAdvConfig::DelPublishedNameFromList(const wchar_t* name,
                                                       bool& notPresent) noexcept {
  return DelString(kPublishedNames.name, name, notPresent);
}

unsigned long AgentAdvConfig::IsThisNameBeingPublished(const wchar_t* name,
                                                       bool& present) noexcept {
  return InString(kPublishedNames.name, name, present);
}

unsigned long AgentAdvConfig::DelMediaServerPurge(const wchar_t* name, bool& notPresent) noexcept {
  return DelString(kPurgeServers.name, name, notPresent);
}

unsigned long AgentAdvConfig::AddMediaServerAdv(const wchar_t* server, bool& alreadyPresent,
                                                bool advertiseNow) noexcept {
  alreadyPresent = false;
  if (!IsAdvEnabled()) return Failed(advertisingDisabled);
  bool notInPurge = true;
  unsigned long failure = DelString(kPurgeServers.name, server, notInPurge);
  if (failure == ERROR_SUCCESS) failure = AddString(kMediaServers.name, server, alreadyPresent);
  const bool nothingChanged = alreadyPresent && notInPurge;
  if (failure != ERROR_SUCCESS || !advertiseNow || nothingChanged) return failure;
  return SetPendingAdvertiseNow();
}

unsigned long AgentAdvConfig::AddMediaServerPurge(const wchar_t* server, bool& notInDirectory,
                                                  bool& alreadyInPurge, bool advertiseNow,
                                                  bool force) noexcept {
  alreadyInPurge = false;
  unsigned long failure = DelString(kMediaServers.name, server, notInDirectory);
  if (failure != ERROR_SUCCESS) return failure;
  if (notInDirectory && !force) return InString(kPurgeServers.name, server, alreadyInPurge);
  failure = AddString(kPurgeServers.name, server, alreadyInPurge);
  if (failure == ERROR_SUCCESS) failure = EnablePendingPurge();
  const bool nothingChanged = alreadyInPurge && notInDirectory;
  if (failure != ERROR_SUCCESS || !advertiseNow || nothingChanged) return failure;
  return SetPendingAdvertiseNow();
}
