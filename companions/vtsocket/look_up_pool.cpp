#include "companions/vtsocket/look_up_pool.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <utility>

#include "companions/vtsocket/winsock.h"
#include "platform/module_thread.h"

namespace vtclass::vtsocket {
namespace {

// How long a thread waits for the next look-up before it ends.
constexpr DWORD kIdleMilliseconds = 2000;
// A thread that has not begun by then does not come: its starter was killed.
constexpr ULONGLONG kLongestStart = 10'000;

// What idle threads wait for: one count for each that shall look into the queue. It lives until the
// DLL is unloaded, because a caller wakes a thread after it has let go of the lock.
constinit std::atomic<HANDLE> work{nullptr};

HANDLE WorkSemaphore() {
  HANDLE known = work.load(std::memory_order_acquire);
  if (known) return known;
  platform::OwnedKernelObject made(::CreateSemaphoreW(nullptr, 0, LONG_MAX, nullptr));
  return work.compare_exchange_strong(known, made.Get()) ? made.Release() : known;
}

// True when it has come: the pool then knows the look-up no more.
bool WaitForAnswer(const LookUp& lookUp) {
  for (ULONGLONG now; (now = ::GetTickCount64()) < lookUp.deadline;) {
    const auto part = static_cast<DWORD>(std::min<ULONGLONG>(lookUp.deadline - now, INFINITE - 1));
    const DWORD result = ::WaitForSingleObject(lookUp.answered.Get(), part);
    if (result != WAIT_TIMEOUT) return result == WAIT_OBJECT_0;
  }
  return false;
}

}  // namespace

constinit LookUpPool lookUpPool;

LookUp::LookUp(const char* node, const char* service, const addrinfo* hints)
    : node(node ? node : ""),
      service(service ? service : ""),
      hasNode(node != nullptr),
      hasService(service != nullptr),
      hasHints(hints != nullptr),
      hints(hints ? *hints : addrinfo{}),
      answered(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

LookUp::~LookUp() { FreeAddrInfo(list); }

void LookUp::Run() {
  error = GetAddrInfo(hasNode ? node.c_str() : nullptr, hasService ? service.c_str() : nullptr,
                      hasHints ? &hints : nullptr, &list);
}

bool LookUp::Equals(const LookUp& other) const {
  return hasNode == other.hasNode && hasService == other.hasService && hasHints == other.hasHints &&
         hints.ai_flags == other.hints.ai_flags && hints.ai_family == other.hints.ai_family &&
         hints.ai_socktype == other.hints.ai_socktype &&
         hints.ai_protocol == other.hints.ai_protocol && service == other.service &&
         _stricmp(node.c_str(), other.node.c_str()) == 0;
}

bool LookUp::HoldsThread(ULONGLONG now) const {
  return state == State::running || (state == State::starting && now - startedAt < kLongestStart);
}

int LookUpPool::Ask(std::unique_ptr<LookUp> lookUp, ULONGLONG limit, addrinfo** result) {
  if (!lookUp->answered) return WSA_NOT_ENOUGH_MEMORY;
  const ULONGLONG now = ::GetTickCount64();
  lookUp->deadline = limit < ULLONG_MAX - now ? now + limit : ULLONG_MAX;
  ServeQueue(lookUp.get());
  if (!WaitForAnswer(*lookUp)) {
    ScopedPassingLock scope(lock);
    if (lookUp->state == LookUp::State::queued) {
      Remove(lookUp.get());
    } else if (lookUp->state != LookUp::State::answered) {
      lookUp.release()->isAbandoned = true;  // to the thread that runs it
    }
  }
  if (lookUp && lookUp->state == LookUp::State::answered) {
    *result = std::exchange(lookUp->list, nullptr);
    return lookUp->error;
  }
  ServeQueue();  // somebody who still waits gets the place
  return WSAETIMEDOUT;
}

void LookUpPool::Append(LookUp* lookUp) {
  LookUp** link = &first;
  while (*link) link = &(*link)->next;
  *link = lookUp;
}

void LookUpPool::Remove(const LookUp* lookUp) {
  LookUp** link = &first;
  while (*link != lookUp) link = &(*link)->next;
  *link = lookUp->next;
}

bool LookUpPool::HasEarlierTwin(const LookUp& lookUp, ULONGLONG now) const {
  if (lookUp.isReleased) return false;
  for (const LookUp* at = first; at != &lookUp; at = at->next) {
    if ((at->HoldsThread(now) || !at->IsOverdue(now)) && at->Equals(lookUp)) return true;
  }
  return false;
}

LookUpPool::Load LookUpPool::Count() const {
  const ULONGLONG now = ::GetTickCount64();
  Load load;
  load.threads = idle;
  for (LookUp* at = first; at; at = at->next) {
    const bool isAwaited = !at->IsOverdue(now);
    if (at->state == LookUp::State::queued) {
      if (!isAwaited || load.behind || HasEarlierTwin(*at, now)) continue;
      if (load.waiting++ == 0) load.first = at;
      if (load.waiting == idle + 1) load.behind = at;
      continue;
    }
    if (isAwaited) ++load.awaited;
    if (at->HoldsThread(now)) ++load.threads;
  }
  return load;
}

void LookUpPool::ServeQueue(LookUp* arrived) {
  for (;;) {
    bool wake = false;
    LookUp* next = nullptr;
    {
      ScopedPassingLock scope(lock);
      if (LookUp* const lookUp = std::exchange(arrived, nullptr)) Append(lookUp);
      next = NextToStart(wake);
    }
    if (wake) ::ReleaseSemaphore(WorkSemaphore(), 1, nullptr);
    if (!next) return;
    if (!StartThread(next)) Refuse(next);
  }
}

LookUp* LookUpPool::NextToStart(bool& wake) {
  const Load load = Count();
  if (load.awaited >= kMostAwaitedLookUps) return nullptr;
  wake = load.first && idle > 0;
  if (!load.behind || load.threads >= kMostLookUpThreads) return nullptr;
  load.behind->startedAt = ::GetTickCount64();
  load.behind->state = LookUp::State::starting;
  return load.behind;
}

bool LookUpPool::StartThread(LookUp* lookUp) {
  if (platform::StartModuleThread<&LookUpPool::ThreadMain>(*lookUp)) return true;
  Trace("No thread starts for a look-up: %lu", ::GetLastError());
  return false;
}

void LookUpPool::Refuse(LookUp* lookUp) {
  std::unique_ptr<LookUp> abandoned;
  ScopedPassingLock scope(lock);
  lookUp->error = WSA_NOT_ENOUGH_MEMORY;
  abandoned = Settle(lookUp);
}

std::unique_ptr<LookUp> LookUpPool::Settle(LookUp* lookUp) {
  Remove(lookUp);
  if (lookUp->isAbandoned) return std::unique_ptr<LookUp>(lookUp);
  Answer(*lookUp);
  return nullptr;
}

void LookUpPool::Answer(LookUp& lookUp) {
  lookUp.state = LookUp::State::answered;
  // The last that is done to it: the caller, who waits without the lock, frees the look-up.
  ::SetEvent(lookUp.answered.Get());
}

DWORD LookUpPool::ThreadMain(LookUp& first) {
  lookUpPool.Work(&first);
  return 0;
}

void LookUpPool::Work(LookUp* lookUp) {
  {
    ScopedPassingLock scope(lock);
    lookUp->state = LookUp::State::running;
  }
  while (lookUp) {
    lookUp->Run();
    lookUp = Next(lookUp);
  }
}

LookUp* LookUpPool::Next(LookUp* done) {
  LookUp* next = nullptr;
  bool released = false;
  {
    std::unique_ptr<LookUp> abandoned;
    ScopedPassingLock scope(lock);
    if (done->error != 0) {
      FailTwins(*done);
    } else {
      released = ReleaseTwins(*done);
    }
    abandoned = Settle(done);
    next = Take();
    if (!next) ++idle;
  }
  if (released) ServeQueue();
  return next ? next : WaitForWork();
}

bool LookUpPool::ReleaseTwins(const LookUp& lookUp) {
  bool released = false;
  for (LookUp* at = first; at; at = at->next) {
    if (at->state != LookUp::State::queued || at->isReleased || !at->Equals(lookUp)) continue;
    at->isReleased = released = true;
  }
  return released;
}

void LookUpPool::FailTwins(const LookUp& lookUp) {
  for (LookUp** link = &first; LookUp* const at = *link;) {
    if (at->state == LookUp::State::queued && at->Equals(lookUp)) {
      *link = at->next;
      at->error = lookUp.error;
      Answer(*at);
    } else {
      link = &at->next;
    }
  }
}

LookUp* LookUpPool::WaitForWork() {
  for (;;) {
    const DWORD result = ::WaitForSingleObject(WorkSemaphore(), kIdleMilliseconds);
    ScopedPassingLock scope(lock);
    LookUp* const next = Take();
    if (!next && result == WAIT_OBJECT_0) continue;
    --idle;
    return next;
  }
}

LookUp* LookUpPool::Take() {
  const Load load = Count();
  if (!load.first || load.awaited >= kMostAwaitedLookUps) return nullptr;
  load.first->state = LookUp::State::running;
  return load.first;
}

}  // namespace vtclass::vtsocket

// When the DLL is unloaded nothing runs in it; when the process ends the system closes everything.
extern "C" BOOL WINAPI DllMain(HINSTANCE /*library*/, DWORD reason, void* processEnds) {
  if (reason == DLL_PROCESS_DETACH && !processEnds) {
    const vtclass::platform::OwnedKernelObject semaphore(vtclass::vtsocket::work.exchange(nullptr));
  }
  return TRUE;
}
