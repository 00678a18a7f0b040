#include "companions/vtsocket/look_up_pool.h"

#include <algorithm>
#include <utility>

#include "companions/vtsocket/winsock.h"
#include "platform/owned.h"

namespace vtclass::vtsocket {
namespace {

/* How long a thread waits for the next look-up before it ends. */
constexpr DWORD kIdleMilliseconds = 2000;

/* A reference to this DLL, which the thread that gets it gives back as its last act. */
HMODULE ReferToThisModule() {
  HMODULE module = nullptr;
  ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCWSTR>(&ReferToThisModule), &module);
  return module;
}

}  // namespace

constinit LookUpPool lookUpPool;

LookUp::LookUp(const char* node, const char* service, const addrinfo* hints)
    : node(node ? node : ""),
      service(service ? service : ""),
      hasNode(node != nullptr),
      hasService(service != nullptr),
      hasHints(hints != nullptr),
      hints(hints ? *hints : addrinfo{}) {}

LookUp::~LookUp() { FreeAddrInfo(list); }

void LookUp::Run() {
  error = GetAddrInfo(hasNode ? node.c_str() : nullptr, hasService ? service.c_str() : nullptr,
                      hasHints ? &hints : nullptr, &list);
}

int LookUpPool::Ask(std::unique_ptr<LookUp> lookUp, ULONGLONG limit, addrinfo** result) {
  if (!Append(lookUp.get())) return WSA_NOT_ENOUGH_MEMORY;
  platform::ScopedSlimLock scope(lock);
  WaitForAnswer(*lookUp, limit);
  switch (lookUp->state) {
    case LookUp::State::answered:
      *result = std::exchange(lookUp->list, nullptr);
      return lookUp->error;
    case LookUp::State::queued:
      Remove(lookUp.get());
      break;
    default:
      lookUp.release()->state = LookUp::State::abandoned;  // to the thread that runs it
  }
  return WSAETIMEDOUT;
}

bool LookUpPool::Append(LookUp* lookUp) {
  bool needsThread = false;
  {
    platform::ScopedSlimLock scope(lock);
    (last ? last->next : first) = lookUp;
    last = lookUp;
    ++queued;
    needsThread = queued > idle && threads < kMostLookUpThreads;
    if (needsThread) ++threads;
  }
  if (!needsThread) {
    ::WakeConditionVariable(&work);
    return true;
  }
  if (StartThread()) return true;
  platform::ScopedSlimLock scope(lock);
  --threads;
  // Another thread takes it in its turn, or has taken it.
  if (threads > 0 || lookUp->state != LookUp::State::queued) return true;
  Remove(lookUp);
  return false;
}

bool LookUpPool::StartThread() {
  const HMODULE module = ReferToThisModule();
  const platform::OwnedKernelObject thread(
      ::CreateThread(nullptr, 0, &LookUpPool::ThreadMain, module, 0, nullptr));
  if (thread) return true;
  Trace("No thread starts for a look-up: %lu", ::GetLastError());
  ::FreeLibrary(module);
  return false;
}

void LookUpPool::Remove(const LookUp* lookUp) {
  LookUp* before = nullptr;
  LookUp* at = first;
  for (; at != lookUp; at = at->next) before = at;
  (before ? before->next : first) = at->next;
  if (last == lookUp) last = before;
  --queued;
}

void LookUpPool::WaitForAnswer(LookUp& lookUp, ULONGLONG limit) {
  const ULONGLONG start = ::GetTickCount64();
  while (lookUp.state != LookUp::State::answered) {
    const ULONGLONG waited = ::GetTickCount64() - start;
    if (waited >= limit) return;
    lock.Wait(lookUp.changed,
              static_cast<DWORD>(std::min<ULONGLONG>(limit - waited, INFINITE - 1)));
  }
}

LookUp* LookUpPool::Take() {
  if (!first) {
    ++idle;
    lock.Wait(work, kIdleMilliseconds);
    --idle;
  }
  LookUp* const lookUp = first;
  if (!lookUp) return nullptr;
  first = lookUp->next;
  if (!first) last = nullptr;
  --queued;
  lookUp->state = LookUp::State::running;
  return lookUp;
}

DWORD WINAPI LookUpPool::ThreadMain(void* module) {
  lookUpPool.Work();
  ::FreeLibraryAndExitThread(static_cast<HMODULE>(module), 0);
}

void LookUpPool::Work() {
  lock.Lock();
  while (LookUp* const lookUp = Take()) {
    lock.Unlock();
    lookUp->Run();
    lock.Lock();
    if (lookUp->state == LookUp::State::abandoned) {
      lock.Unlock();
      delete lookUp;
      lock.Lock();
    } else {
      lookUp->state = LookUp::State::answered;
      ::WakeConditionVariable(&lookUp->changed);
    }
  }
  --threads;
  lock.Unlock();
}

}  // namespace vtclass::vtsocket
