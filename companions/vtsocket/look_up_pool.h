#ifndef VTSOCKET_LOOK_UP_POOL_H
#define VTSOCKET_LOOK_UP_POOL_H

#include <vtclass/win32.h>

#include <ws2tcpip.h>

#include <memory>
#include <string>

#include "companions/vtsocket/passing_lock.h"
#include "platform/owned.h"

namespace vtclass::vtsocket {

/* The most look-ups that run at once for callers who still wait; the others wait for their turn,
 * each up to its own limit. */
inline constexpr unsigned kMostAwaitedLookUps = 16;
/* The most threads, with those that hang in look-ups that nobody waits for any more. */
inline constexpr unsigned kMostLookUpThreads = 64;

/* One question to the resolver, with copies of all that it points to: it may outlive its caller. */
struct LookUp {
  LookUp(const char* node, const char* service, const addrinfo* hints);
  ~LookUp();
  LookUp(const LookUp&) = delete;
  LookUp& operator=(const LookUp&) = delete;

  /* Asks the resolver, however long that takes. */
  void Run();
  /* The same question, whatever the case of the name. */
  bool Equals(const LookUp& other) const;
  /* Nobody waits for the answer any more, whether its caller gave up or was killed. */
  bool IsOverdue(ULONGLONG now) const { return isAbandoned || now >= deadline; }

  /* A thread runs it, or may still come. */
  bool HoldsThread(ULONGLONG now) const;

  enum class State { queued, starting, running, answered };

  std::string node, service;
  bool hasNode, hasService, hasHints;
  addrinfo hints{};
  int error = 0;
  addrinfo* list = nullptr;
  /* Set when the look-up is answered; null where the system had none to give. */
  platform::OwnedKernelObject answered;
  ULONGLONG deadline = 0;

  /* The pool's, under its lock. */
  State state = State::queued;
  bool isAbandoned = false; /* the thread that runs it frees it */
  bool isReleased = false;  /* its name has answered: it waits for no equal look-up */
  ULONGLONG startedAt = 0;  /* when its thread was asked for */
  LookUp* next = nullptr;
};

/*
 * Runs look-ups on threads of its own, because a resolver cannot be interrupted. Threads start when
 * there is work, up to the bounds, and end when they have had none for a while. A look-up that its
 * caller has given up keeps its thread until the resolver returns, but not its place among the
 * awaited ones; the thread then frees it.
 *
 * Of equal look-ups one runs first, so that a silent name holds one thread however often it is
 * asked for. When it fails, all that wait behind it fail with it. When it succeeds, the name is not
 * silent, and they all run: a list that the system's freeaddrinfo takes cannot be copied.
 *
 * Each thread holds a reference to this DLL, so the DLL stays in memory as long as a resolver runs
 * in it, and nothing waits for the resolver when the DLL is freed. When the process ends, the
 * system ends the threads first. The pool is one object without constructor and destructor, which
 * works before and after all others.
 *
 * A caller may be killed while it asks. Nothing that others use lies on its stack. Under the lock,
 * which passes on to the next, each step leaves a list that can be walked. What it leaves in the
 * queue counts no longer than its limit, because all counts of look-ups are taken from the list.
 */
class LookUpPool {
 public:
  constexpr LookUpPool() = default;

  /* Moves the answer to `*result`. WSAETIMEDOUT when there is none after `limit` milliseconds. */
  int Ask(std::unique_ptr<LookUp> lookUp, ULONGLONG limit, addrinfo** result);

 private:
  struct Load {
    unsigned awaited = 0; /* look-ups with a thread and somebody who waits */
    unsigned threads = 0;
    unsigned waiting = 0;     /* look-ups whose turn it is, counted up to `behind` */
    LookUp* first = nullptr;  /* of those */
    LookUp* behind = nullptr; /* the first of those for which no thread is idle */
  };

  static DWORD ThreadMain(LookUp& first);
  static bool StartThread(LookUp* lookUp);

  void Append(LookUp* lookUp) VTCLASS_REQUIRES(lock);
  void Remove(const LookUp* lookUp) VTCLASS_REQUIRES(lock);
  Load Count() const VTCLASS_REQUIRES(lock);
  bool HasEarlierTwin(const LookUp& lookUp, ULONGLONG now) const VTCLASS_REQUIRES(lock);
  /* Sees to threads for the look-ups that wait, as far as the bounds allow; `arrived` is one more
   * of them. */
  void ServeQueue(LookUp* arrived = nullptr);
  /* The look-up that a new thread has to be started for; null when there is none. Then `wake` tells
   * whether an idle thread has to be woken. */
  LookUp* NextToStart(bool& wake) VTCLASS_REQUIRES(lock);
  /* Answers the look-up, for which no thread started. */
  void Refuse(LookUp* lookUp);

  /* Answers the look-up, which has its result. One that nobody waits for comes back to be freed. */
  std::unique_ptr<LookUp> Settle(LookUp* lookUp) VTCLASS_REQUIRES(lock);
  static void Answer(LookUp& lookUp);

  /* On the pool's threads. */
  void Work(LookUp* lookUp);
  void FailTwins(const LookUp& lookUp) VTCLASS_REQUIRES(lock);
  bool ReleaseTwins(const LookUp& lookUp) VTCLASS_REQUIRES(lock);
  /* Settles the look-up that has run. The next one in turn; null when there was none for a while:
   * the thread ends. */
  LookUp* Next(LookUp* done);
  LookUp* WaitForWork();
  LookUp* Take() VTCLASS_REQUIRES(lock);

  PassingLock lock;
  /* All look-ups that have no answer, in the order in which they came. */
  LookUp* first VTCLASS_GUARDED_BY(lock) = nullptr;
  unsigned idle VTCLASS_GUARDED_BY(lock) = 0; /* threads that wait for work */
};

extern LookUpPool lookUpPool;

}  // namespace vtclass::vtsocket

#endif
