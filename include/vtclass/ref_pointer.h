#ifndef VTCLASS_REF_POINTER_H
#define VTCLASS_REF_POINTER_H

#include <atomic>
#include <type_traits>
#include <utility>

/*
 * Shared ownership by a count inside the object. Both classes are complete here: a module that uses
 * them needs the library's headers only, not the library.
 *
 *   class Session : public RefCounted { ... };
 *   RefPointer<Session> session(new Session);  // the object dies with its last RefPointer
 */

/*
 * The base of every object that a RefPointer holds. The count is 0 at construction, so an object
 * that nobody has held yet belongs to its creator.
 *
 * Threads: any thread may add and drop references it is entitled to, without a lock. The object
 * dies exactly once, on the thread that drops the last reference, and that thread sees everything
 * that other holders wrote before they dropped theirs.
 */
class RefCounted {
 public:
  RefCounted() noexcept = default;
  RefCounted(const RefCounted&) = delete;
  RefCounted& operator=(const RefCounted&) = delete;
  virtual ~RefCounted() = default;

  /*
   * Ends the object: deletes it. Called once, by whoever lowers the count from 1 to 0. A class that
   * lives elsewhere than on the heap overrides it.
   */
  virtual void Destroy() { delete this; }

  /*
   * Adds one reference and returns the new count.
   * Requires: the caller holds a reference, or the object has never been held.
   */
  long AddRef() noexcept { return count.fetch_add(1, std::memory_order_relaxed) + 1; }

  /*
   * Drops one reference and returns what is left; at 0 the object has been destroyed.
   * Requires: the reference is the caller's to drop.
   */
  long Release() {
    // Release orders this holder's writes before the drop; acquire lets the last one see them all.
    const long left = count.fetch_sub(1, std::memory_order_acq_rel) - 1;
#if !defined(__clang_analyzer__)  // it cannot follow counts: to it, every object dies here
    if (left == 0) Destroy();
#endif
    return left;
  }

 private:
  std::atomic<long> count{0};
};

/*
 * Holds one reference to a `T`, which derives from RefCounted, or none (null).
 *
 * Threads: one RefPointer belongs to one thread at a time; copies of it may go to other threads.
 * Never throws, except what the destruction of the object itself throws.
 */
template <typename T>
class RefPointer {
 public:
  /* Null. */
  RefPointer() noexcept = default;

  /* Adds a reference to `object`, which may be null. */
  RefPointer(T* object) noexcept : object(object) {
    if (object) object->AddRef();
  }

  RefPointer(const RefPointer& other) noexcept : RefPointer(other.object) {}

  /* Takes the reference over; `other` is null afterwards. */
  RefPointer(RefPointer&& other) noexcept : object(std::exchange(other.object, nullptr)) {}

  /* From a pointer to a derived class. */
  template <typename U>
    requires std::is_convertible_v<U*, T*>
  RefPointer(const RefPointer<U>& other) noexcept : RefPointer(other.get()) {}

  ~RefPointer() {
    if (object) object->Release();
  }

  /*
   * Holds the object of `other` in place of the former one, whose reference is dropped last: self
   * assignment is safe, and so is a former object that owns `other`.
   */
  RefPointer& operator=(RefPointer other) noexcept {
    std::swap(object, other.object);
    return *this;
  }

  /* Gives the reference away to the caller, who drops it; null afterwards. */
  T* Detach() noexcept { return std::exchange(object, nullptr); }

  /* The object, without a reference of its own; null when there is none. */
  T* get() const noexcept { return object; }

  /* Requires: not null. */
  T* operator->() const noexcept { return object; }
  T& operator*() const noexcept { return *object; }

  explicit operator bool() const noexcept { return object != nullptr; }

  /* The same object, by address. */
  template <typename U>
  bool operator==(const RefPointer<U>& other) const noexcept {
    return object == other.get();
  }
  bool operator==(const T* other) const noexcept { return object == other; }

 private:
  T* object = nullptr;
};

#endif
