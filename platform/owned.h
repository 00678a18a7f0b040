#ifndef VTCLASS_PLATFORM_OWNED_H
#define VTCLASS_PLATFORM_OWNED_H

#include <vtclass/win32.h>

#include <cassert>
#include <utility>

namespace vtclass::platform {

/*
 * One owner for each kind of platform resource. A row below names the resource's type, its empty
 * value and how it is released. Releasing keeps the thread's last error, so that a clean-up on a
 * failing path does not hide the failure; a release that fails is a defect and stops a debug build.
 */
template <typename Traits>
class Owned {
 public:
  using Type = typename Traits::Type;

  Owned() noexcept = default;
  explicit Owned(Type value) noexcept : value(value) {}
  Owned(Owned&& other) noexcept : value(other.Release()) {}
  Owned& operator=(Owned&& other) noexcept {
    Reset(other.Release());
    return *this;
  }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  ~Owned() { Reset(); }

  Type Get() const noexcept { return value; }
  explicit operator bool() const noexcept { return value != Traits::Empty(); }

  /* For platform calls that store the resource through a pointer. Releases what was held. */
  Type* Receive() noexcept {
    Reset();
    return &value;
  }
  Type Release() noexcept { return std::exchange(value, Traits::Empty()); }
  void Reset(Type next = Traits::Empty()) noexcept {
    const Type old = std::exchange(value, next);
    if (old == Traits::Empty()) return;
    const DWORD lastError = ::GetLastError();
    const bool released = Traits::Close(old);
    assert(released);
    (void)released;
    ::SetLastError(lastError);
  }

 private:
  Type value = Traits::Empty();
};

struct RegistryKeyTraits {
  using Type = HKEY;
  static Type Empty() noexcept { return nullptr; }
  static bool Close(Type key) noexcept { return ::RegCloseKey(key) == ERROR_SUCCESS; }
};

struct FileTraits {
  using Type = HANDLE;
  static Type Empty() noexcept { return INVALID_HANDLE_VALUE; }
  static bool Close(Type file) noexcept { return ::CloseHandle(file) != FALSE; }
};

/* Searches for files: what FindFirstFileW begins. */
struct FileSearchTraits {
  using Type = HANDLE;
  static Type Empty() noexcept { return INVALID_HANDLE_VALUE; }
  static bool Close(Type search) noexcept { return ::FindClose(search) != FALSE; }
};

/* Threads, events, semaphores, tokens: what is null when there is none. */
struct KernelObjectTraits {
  using Type = HANDLE;
  static Type Empty() noexcept { return nullptr; }
  static bool Close(Type object) noexcept { return ::CloseHandle(object) != FALSE; }
};

struct LocalMemoryTraits {
  using Type = HLOCAL;
  static Type Empty() noexcept { return nullptr; }
  static bool Close(Type memory) noexcept { return ::LocalFree(memory) == nullptr; }
};

struct ModuleTraits {
  using Type = HMODULE;
  static Type Empty() noexcept { return nullptr; }
  static bool Close(Type module) noexcept { return ::FreeLibrary(module) != FALSE; }
};

/* The service control manager and its services. */
struct ServiceTraits {
  using Type = SC_HANDLE;
  static Type Empty() noexcept { return nullptr; }
  static bool Close(Type service) noexcept { return ::CloseServiceHandle(service) != FALSE; }
};

using OwnedRegistryKey = Owned<RegistryKeyTraits>;
using OwnedFile = Owned<FileTraits>;
using OwnedFileSearch = Owned<FileSearchTraits>;
using OwnedKernelObject = Owned<KernelObjectTraits>;
using OwnedLocalMemory = Owned<LocalMemoryTraits>;
using OwnedModule = Owned<ModuleTraits>;
using OwnedService = Owned<ServiceTraits>;

}  // namespace vtclass::platform

#endif
