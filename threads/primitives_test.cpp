#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <thread>
#include <vector>

#include "threads/ring.h"
#include "threads/threads_test_support.h"

namespace {

using vtclass::test::Gate;

TEST(WaitableGroup, KeepsOrder_RefusesThe65th_AndWaits) {
  Gate gates[3];
  std::vector<std::unique_ptr<Waitable>> many;
  WaitableGroup group;
  EXPECT_EQ(group.Wait(0), nullptr);
  EXPECT_EQ(group.WaitForAll(0), 0);
  for (int i = 0; i < 65; ++i) {
    many.push_back(std::make_unique<Waitable>(gates[i % 3].Handle()));
    EXPECT_EQ(group.Add(many.back().get()), i < 64) << i;
  }
  EXPECT_EQ(group.Add(nullptr), 0);
  EXPECT_EQ(group.Remove(many[64].get()), 0);
  for (unsigned i = 63; i > 2; --i) EXPECT_EQ(group.Remove(many[i].get()), 1);
  EXPECT_EQ(group.Remove(many[0].get()), 1);
  EXPECT_EQ(group.Count(), 2u);
  unsigned long index = 7;
  EXPECT_EQ(group.Wait(&index, 0), nullptr);
  EXPECT_EQ(index, 7u);
  gates[2].Open();
  EXPECT_EQ(group.Wait(&index, 0), many[2].get());
  EXPECT_EQ(index, 1u);
  EXPECT_EQ(group.WaitForAll(0), 0);
  gates[1].Open();
  EXPECT_EQ(group.Wait(INFINITE), many[1].get());
  EXPECT_EQ(group.WaitForAll(0), 1);
}

TEST(IntrusiveSList, AppendPrependRemove_KeepHeadTailAndCount) {
  IntrusiveSLink a, b, c;
  IntrusiveSList list;
  EXPECT_EQ(list.RemoveFirst(), nullptr);
  list.Append(&b);
  list.Append(&c);
  list.Prepend(&a);
  EXPECT_EQ(list.Count(), 3u);
  EXPECT_EQ(list.RemoveFirst(), &a);
  EXPECT_EQ(a.next, &b) << "left as it was";
  EXPECT_EQ(list.RemoveFirst(), &b);
  EXPECT_EQ(list.Tail(), &c);
  EXPECT_EQ(list.RemoveFirst(), &c);
  EXPECT_TRUE(!list.Head() && !list.Tail() && list.Count() == 0);
  list.Prepend(&a);
  EXPECT_EQ(list.Tail(), &a);
}

TEST(Atomics, ReturnTheNewValue) {
  long value = 0;
  EXPECT_EQ(AtomicIncrement(&value), 1);
  EXPECT_EQ(AtomicDecrement(&value), 0);
}

TEST(Ring, TakesFromAnywhere_AcrossItsEndAndWhileItGrows_InOrder) {
  vtclass::threads::Ring<int> ring;
  std::deque<int> model;
  for (int i = 0; i < 500; ++i) {
    ring.Reserve(1);
    ring.PushBack(i);
    model.push_back(i);
    if (i % 3 == 0) continue;
    const std::size_t at = static_cast<std::size_t>(i) * 7 % std::min<std::size_t>(model.size(), 9);
    EXPECT_EQ(ring.Take(at), model[at]);
    model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
  }
  for (const int value : model) EXPECT_EQ(ring.PopFront(), value);
  EXPECT_EQ(ring.Size(), 0u);
}

struct Object : RefCounted {
  explicit Object(int* destroyed) : destroyed(destroyed) {}
  void Destroy() override { ++*destroyed, RefCounted::Destroy(); }
  int* destroyed;
};
struct Derived : Object {
  using Object::Object;
};

TEST(RefPointer, EveryWayToHoldAnObject_KeepsTheCount) {
  int destroyed = 0;
  RefPointer<Derived> first(new Derived(&destroyed));
  RefPointer<Object> base = first;
  RefPointer<Object> copy(base);
  EXPECT_TRUE(base == first && base == first.get() && &*copy == base.get());
  EXPECT_EQ(first->AddRef(), 4);
  EXPECT_EQ(first->Release(), 3);
  RefPointer<Object>& self = copy;
  copy = self;
  base = std::move(copy);
  EXPECT_TRUE(!copy && copy == nullptr && base != nullptr);  // NOLINT: moved from is null
  first = nullptr;
  EXPECT_EQ(destroyed, 0);
  base = new Object(&destroyed);
  EXPECT_EQ(destroyed, 1);
  Object* const given = base.Detach();
  EXPECT_EQ(given->Release(), 0);
  EXPECT_EQ(destroyed, 2);
}

TEST(RefPointer, LastDropOfManyThreads_DestroysOnce) {
  for (int round = 0; round < 200; ++round) {
    int destroyed = 0;
    Gate start;
    RefPointer<Object> object(new Object(&destroyed));
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([held = object, &start]() mutable { start.Passed(), held = nullptr; });
    }
    object = nullptr;
    start.Open();
    for (auto& thread : threads) thread.join();
    ASSERT_EQ(destroyed, 1);
  }
}

}  // namespace
