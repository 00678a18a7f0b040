#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <deque>

#include "tests/support/thread_calls.h"

namespace vtclass::test {
namespace {

TEST(WaitableGroup, KeepsOrder_RefusesThe65th_AndWaits) {
  Gate gates[3];
  std::deque<Waitable> many;
  WaitableGroup group;
  EXPECT_EQ(group.Wait(0), nullptr);
  EXPECT_EQ(group.WaitForAll(0), 0);
  for (unsigned i = 0; i < 65; ++i) {
    many.emplace_back(gates[i % 3].Handle());
    EXPECT_EQ(group.Add(&many[i]), i < 64) << i;
  }
  EXPECT_EQ(group.Add(nullptr) + group.Remove(&many[64]), 0);
  for (unsigned i = 63; i > 2; --i) EXPECT_EQ(group.Remove(&many[i]), 1);
  EXPECT_EQ(group.Remove(&many[0]), 1);
  EXPECT_EQ(group.Count(), 2u);
  unsigned long index = 7;
  EXPECT_EQ(group.Wait(&index, 0), nullptr);
  EXPECT_EQ(index, 7u);
  gates[2].Open();
  EXPECT_EQ(group.Wait(&index, 0), &many[2]);
  EXPECT_EQ(index, 1u);
  EXPECT_EQ(group.WaitForAll(0), 0);
  gates[1].Open();
  EXPECT_EQ(group.Wait(INFINITE), &many[1]);
  EXPECT_EQ(group.WaitForAll(0), 1);
}

TEST(IntrusiveSList, AppendPrependRemove_KeepHeadTailAndCount) {
  IntrusiveSLink a, b, c;
  IntrusiveSList list;
  EXPECT_EQ(list.RemoveFirst(), nullptr);
  list.Prepend(&b);
  list.Append(&c);
  list.Prepend(&a);
  EXPECT_EQ(list.Count(), 3u);
  EXPECT_EQ(list.RemoveFirst(), &a);
  EXPECT_EQ(a.next, &b) << "left as it was";
  EXPECT_EQ(list.RemoveFirst(), &b);
  EXPECT_EQ(list.Tail(), &c);
  EXPECT_EQ(list.RemoveFirst(), &c);
  EXPECT_FALSE(list.Head());
  EXPECT_FALSE(list.Tail());
  EXPECT_EQ(list.Count(), 0);
}

struct Object : RefCounted {
  explicit Object(int* destroyed) : destroyed(destroyed) {}
  void Destroy() override { ++*destroyed, RefCounted::Destroy(); }
  int* destroyed;
};

TEST(RefPointer, EveryWayToHoldAnObject_KeepsTheCount) {
  int destroyed = 0;
  RefPointer<Object> first(new Object(&destroyed));
  RefPointer<RefCounted> base = first;
  RefPointer<RefCounted> copy(base);
  EXPECT_EQ(base, first);
  EXPECT_EQ(base, first.get());
  EXPECT_EQ(&*copy, base.get());
  RefPointer<RefCounted>& self = copy;
  copy = self;
  EXPECT_EQ(first->AddRef(), 4);
  EXPECT_EQ(first->Release(), 3);
  base = std::move(copy);
  EXPECT_FALSE(copy);            // NOLINT: moved from is null
  EXPECT_TRUE(copy == nullptr);  // NOLINT: moved from is null
  EXPECT_TRUE(base != nullptr);
  first = nullptr;
  EXPECT_EQ(destroyed, 0);
  base = new Object(&destroyed);
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(base.Detach()->Release(), 0);
  EXPECT_EQ(destroyed, 2);
}

}  // namespace
}  // namespace vtclass::test
