#ifndef VTCLASS_THREADS_RING_H
#define VTCLASS_THREADS_RING_H

#include <cstddef>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>

namespace vtclass::threads {

/*
 * A first-in, first-out list in one block, which doubles when it is full and is never given back:
 * in the steady state nothing is allocated. Elements that were taken out leave a default value in
 * their place, so that no reference lingers. Not for two threads at a time.
 */
template <typename T>
class Ring {
 public:
  Ring() : slots(std::make_unique<T[]>(kFirstCapacity)), capacity(kFirstCapacity) {}

  std::size_t Size() const noexcept { return size; }

  /* The i-th oldest element. Requires: i < Size(). */
  T& At(std::size_t i) noexcept { return slots[(first + i) & (capacity - 1)]; }

  /* Makes sure that `more` elements fit; the length error of a list when there is no memory. */
  void Reserve(std::size_t more) {
    if (capacity - size >= more) return;
    if (!Grow()) throw std::length_error("list<T> too long");
  }

  /* Requires: room, see Reserve. */
  void PushBack(T value) noexcept {
    At(size) = std::move(value);
    ++size;
  }

  /* Requires: Size() is not 0. */
  T PopFront() noexcept {
    T value = std::exchange(slots[first], T());
    first = (first + 1) & (capacity - 1);
    --size;
    return value;
  }

  /* Takes the i-th element out; the others keep their order. Those before it move, they are few
   * where this is used. Requires: i < Size(). */
  T Take(std::size_t i) noexcept {
    // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.Assign): slots are made initialised
    T value = std::move(At(i));
    for (; i > 0; --i) At(i) = std::move(At(i - 1));
    PopFront();
    return value;
  }

 private:
  static constexpr std::size_t kFirstCapacity = 16;

  bool Grow() noexcept {
    std::unique_ptr<T[]> next(new (std::nothrow) T[capacity * 2]());
    if (!next) return false;
    for (std::size_t i = 0; i < size; ++i) next[i] = std::move(At(i));
    slots = std::move(next);
    first = 0;
    capacity *= 2;
    return true;
  }

  std::unique_ptr<T[]> slots;
  std::size_t capacity;
  std::size_t first = 0;
  std::size_t size = 0;
};

}  // namespace vtclass::threads

#endif
