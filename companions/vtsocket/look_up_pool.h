#ifndef VTSOCKET_LOOK_UP_POOL_H
#define VTSOCKET_LOOK_UP_POOL_H

#include <vtclass/win32.h>

#include <ws2tcpip.h>

#include <memory>
#include <string>

#include "platform/slim_lock.h"

namespace vtclass::vtsocket {

/* The most look-ups that run at once; the others wait for their turn, each up to its own limit. */
inline constexpr unsigned kMostLookUpThreads = 16;

/* One question to the resolver, with copies of all that it points to: it may outlive its caller. */
struct LookUp {
  LookUp(const char* node, const char* service, const addrinfo* hints);
  ~LookUp();
  LookUp(const LookUp&) = delete;
  LookUp& operator=(const LookUp&) = delete;

  /* Asks the resolver, however long that takes. */
  void Run();

  enum class State { queued, running, answered, abandoned };

  std::string node, service;
  bool hasNode, hasService, hasHints;
  addrinfo hints{};
  int error = 0;
  addrinfo* list = nullptr;

  /* The pool's, under its lock. */
  State state = State::queued;
  LookUp* next = nullptr;
  CONDITION_VARIABLE changed = CONDITION_VARIABLE_INIT;
};

/*
 * Runs look-ups on threads of its own, because a resolver cannot be interrupted. Threads start when
 * there is work, up to the bound, and end when they have had none for a while. A look-up that its
 * caller has given up keeps its thread until the resolver returns; the thread then frees it.
 *
 * Each thread holds a reference to this DLL, so the DLL stays in memory as long as a resolver runs
 * in it, and nothing waits for the resolver when the DLL is freed. When the process ends, the
 * system ends the threads first. The pool is one object without constructor and destructor, which
 * works before and after all others.
 */
class LookUpPool {
 public:
  constexpr LookUpPool() = default;

  /* Moves the answer to `*result`. WSAETIMEDOUT when there is none after `limit` milliseconds. */
  int Ask(std::unique_ptr<LookUp> lookUp, ULONGLONG limit, addrinfo** result);

 private:
  static DWORD WINAPI ThreadMain(void* module);
  bool StartThread();
  void Work();
  /* The next look-up in turn; null when there was none for a while: the thread ends. */
  LookUp* Take() VTCLASS_REQUIRES(lock);
  /* Queues the look-up and sees to a thread for it. False when there is none and none starts; then
   * the look-up is not queued. */
  bool Append(LookUp* lookUp);
  void Remove(const LookUp* lookUp) VTCLASS_REQUIRES(lock);
  void WaitForAnswer(LookUp& lookUp, ULONGLONG limit) VTCLASS_REQUIRES(lock);

  platform::SlimLock lock;
  CONDITION_VARIABLE work = CONDITION_VARIABLE_INIT;
  LookUp* first VTCLASS_GUARDED_BY(lock) = nullptr;
  LookUp* last VTCLASS_GUARDED_BY(lock) = nullptr;
  unsigned queued VTCLASS_GUARDED_BY(lock) = 0;
  unsigned threads VTCLASS_GUARDED_BY(lock) = 0;
  unsigned idle VTCLASS_GUARDED_BY(lock) = 0;
};

extern LookUpPool lookUpPool;

}  // namespace vtclass::vtsocket

#endif
