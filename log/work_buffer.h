#ifndef VTCLASS_LOG_WORK_BUFFER_H
#define VTCLASS_LOG_WORK_BUFFER_H

#include <cstddef>
#include <memory>
#include <new>
#include <utility>

#include "log/buffer_growth.h"

namespace vtclass::log {

/*
 * A buffer in which a log puts a text together, or converts it. It is kept from one text to the
 * next, so that in the steady state nothing is allocated; what it holds means nothing in between.
 */
template <typename Unit>
class WorkBuffer {
 public:
  /* With 0 it has no memory yet. Throws std::bad_alloc. */
  explicit WorkBuffer(std::size_t capacity = kFirstCapacity)
      : units(capacity > 0 ? new Unit[capacity] : nullptr), capacity(capacity) {}

  Unit* Data() const noexcept { return units.get(); }
  std::size_t Capacity() const noexcept { return capacity; }

  /* Other memory, for exactly `size` units. False, with the buffer as it was, when there is none.
   */
  bool Allocate(std::size_t size) noexcept {
    std::unique_ptr<Unit[]> other(new (std::nothrow) Unit[size]);
    if (!other) return false;
    units = std::move(other);
    capacity = size;
    return true;
  }

  /* Room for `needed` units, in steps. False as above; what it held is lost where it grows. */
  bool Grow(std::size_t needed, std::size_t step = kGrowth) noexcept {
    const std::size_t grown = GrownCapacity(capacity, needed, step);
    return grown == capacity || Allocate(grown);
  }

 private:
  std::unique_ptr<Unit[]> units;
  std::size_t capacity;
};

}  // namespace vtclass::log

#endif
