#ifndef VTCLASS_LOG_MESSAGES_STRING_RESOURCE_STATE_H
#define VTCLASS_LOG_MESSAGES_STRING_RESOURCE_STATE_H

#include <map>
#include <string>

#include "platform/critical_section.h"
#include "platform/owned.h"
#include "vtclass/log.h"

/* What all copies of one StringResourceMgr share: the module and the texts that were read so far.
 * Destroys itself with the last copy. */
class StringResourceMgr::State {
 public:
  /* Reads from a module that stays loaded as long as this state lives; null is the executable. */
  explicit State(HINSTANCE module) noexcept;
  /* Owns a library; without one every text is empty and `error` says why. */
  State(vtclass::platform::OwnedModule owned, DWORD error) noexcept;
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  void AddReference() noexcept;
  void Release() noexcept;

  DWORD LoadError() const { return loadError; }

  /* The library that it owns; null for a module of somebody else, and without one. */
  HMODULE Library() const { return library.Get(); }

  /* The text of `id`. It stays where it is, unchanged, while the state lives. */
  const std::wstring& Text(unsigned id);

 private:
  ~State() = default;

  std::wstring Read(unsigned id) const;

  volatile LONG references = 1;
  const vtclass::platform::OwnedModule library;
  const HINSTANCE module;
  const DWORD loadError;
  vtclass::platform::CriticalSection section;
  std::map<unsigned, std::wstring> texts VTCLASS_GUARDED_BY(section);
};

#endif
