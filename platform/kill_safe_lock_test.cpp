#include "platform/kill_safe_lock.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <deque>
#include <random>

#include "platform/owned.h"
#include "tests/support/eventually.h"
#include "tests/support/import_hook.h"

namespace vtclass::platform {
namespace {

using test::kLimit;

int asked = 0;
decltype(::CreateMutexW)* createMutex = nullptr;
HANDLE WINAPI RefuseTwo(LPSECURITY_ATTRIBUTES attributes, BOOL owned, LPCWSTR name) {
  if (++asked > 2) return createMutex(attributes, owned, name);
  ::SetLastError(ERROR_NO_SYSTEM_RESOURCES);
  return nullptr;
}

struct Guarded;

struct Passer {
  Guarded& guarded;
  std::atomic<bool> isDying{false};
};

struct Guarded {
  ~Guarded() { lock.Close(); }

  const OwnedKernelObject begun{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
  KillSafeLock lock;
  std::atomic<const Passer*> inside{nullptr};  // written by whoever holds the lock
  std::atomic<int> intruders{0};
};

DWORD WINAPI Pass(void* context) {
  const Passer& self = *static_cast<Passer*>(context);
  Guarded& guarded = self.guarded;
  ::SetEvent(guarded.begun.Get());
  while (true) {
    const ScopedKillSafeLock hold(guarded.lock);
    guarded.inside = &self;  // over what a dead thread left
    for (int i = 0; i < 10; ++i) ::YieldProcessor();
    const Passer* const seen = guarded.inside;
    // A thread can run for a moment more when its mutexes have already passed on: as the intruder,
    // or as who is intruded upon.
    if (seen != &self && !seen->isDying && !self.isDying) ++guarded.intruders;
  }
}

// Threads that pass the lock until they are killed.
class Victims {
 public:
  explicit Victims(Guarded& guarded) : guarded(guarded) {
    for (unsigned i = 0; i < threads.size(); ++i) Start(i);
  }
  ~Victims() {
    for (unsigned i = 0; i < threads.size(); ++i) Kill(i);
  }
  // Returns when the thread is past the loader, whose lock a kill would leave taken.
  void Start(unsigned i) {
    current[i] = &passers.emplace_back(guarded);
    threads[i].Reset(::CreateThread(nullptr, 0, &Pass, current[i], 0, nullptr));
    ASSERT_EQ(::WaitForSingleObject(guarded.begun.Get(), kLimit), WAIT_OBJECT_0);
  }
  void Kill(unsigned i) {
    current[i]->isDying = true;
    ::TerminateThread(threads[i].Get(), 0);
    EXPECT_EQ(::WaitForSingleObject(threads[i].Get(), kLimit), WAIT_OBJECT_0);
  }
  static constexpr unsigned kCount = 4;

 private:
  Guarded& guarded;
  std::deque<Passer> passers;  // the dead ones, too: the mark of who was last may be theirs
  std::array<Passer*, kCount> current{};
  std::array<OwnedKernelObject, kCount> threads;
};

TEST(KillSafeLock, KilledMakersWaitersAndOwners_TakeNobodyAlong) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(::testing::Message() << "seed " << seed);
  std::minstd_rand random(seed);
  for (int round = 0; round < 40; ++round) {
    Guarded guarded;
    Victims victims(guarded);
    for (int kill = 0; kill < 5; ++kill) {
      for (auto spin = random() % 20000; spin > 0; --spin) ::YieldProcessor();
      const auto i = static_cast<unsigned>(random() % Victims::kCount);
      victims.Kill(i);
      victims.Start(i);
    }
    // The lock still goes round.
    const ScopedKillSafeLock hold(guarded.lock);
    EXPECT_EQ(guarded.intruders, 0);
  }
}

TEST(KillSafeLock, KilledOwner_PassesTheLockOn) {
  static KillSafeLock lock;
  OwnedKernelObject held(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
  const auto hold = [](void* event) -> DWORD {
    const ScopedKillSafeLock scope(lock);
    ::SetEvent(event);
    ::Sleep(INFINITE);
    return 0;
  };
  for (int round = 0; round < 3; ++round) {
    const OwnedKernelObject owner(::CreateThread(nullptr, 0, hold, held.Get(), 0, nullptr));
    ASSERT_EQ(::WaitForSingleObject(held.Get(), kLimit), WAIT_OBJECT_0);
    ::TerminateThread(owner.Get(), 0);
  }
  lock.Lock();
  lock.Unlock();
  lock.Close();
}

TEST(KillSafeLock, RefusedMutex_IsAskedForAgain_AndTheLastErrorIsKept) {
  asked = 0;
  const test::ImportHook<decltype(::CreateMutexW)> hook("KERNEL32.dll", "CreateMutexW", &RefuseTwo,
                                                        ::GetModuleHandleW(nullptr));
  createMutex = hook.Original();
  static KillSafeLock lock;
  ::SetLastError(4711);
  lock.Lock();
  lock.Unlock();
  lock.Close();
  EXPECT_EQ(asked, 3);
  EXPECT_EQ(::GetLastError(), 4711u);
  lock.Lock();
  lock.Unlock();
  lock.Close();
  EXPECT_EQ(asked, 4) << "after Close there is another one";
}

}  // namespace
}  // namespace vtclass::platform
