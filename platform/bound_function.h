#ifndef VTCLASS_PLATFORM_BOUND_FUNCTION_H
#define VTCLASS_PLATFORM_BOUND_FUNCTION_H

#include <vtclass/win32.h>

#include <atomic>
#include <bit>
#include <type_traits>

namespace vtclass::platform {

/*
 * A function of a system library that is looked up by name at the first call, so that loading our
 * DLL does not load the library, and an older system may lack it. The type is the SDK's own:
 *
 *   constinit BoundFunction<decltype(::CoInitialize)> coInitialize(L"ole32.dll", "CoInitialize",
 *                                                                  E_NOTIMPL);
 *   const HRESULT status = coInitialize(nullptr);
 *
 * Where the library or the function is missing a call answers the given result, and the thread's
 * last error tells which (126 no library, 127 no function); the next call looks again.
 * The library comes from the system folder only. It stays loaded: a bound address never goes stale.
 */
template <typename Function>
class BoundFunction;

template <typename Result, typename... Arguments>
class BoundFunction<Result WINAPI(Arguments...)> {
 public:
  /* What a missing function answers; a function without a result has nothing to answer. */
  using Missing = std::conditional_t<std::is_void_v<Result>, std::nullptr_t, Result>;
  using Address = Result(WINAPI*)(Arguments...);

  constexpr BoundFunction(const wchar_t* library, const char* function, Missing missing) noexcept
      : library(library), function(function), missing(missing) {}

  Result operator()(Arguments... arguments) {
    const Address bound = Get();
    if (bound) return bound(arguments...);
    if constexpr (!std::is_void_v<Result>) return missing;
  }

  /* The function's address, null where it is missing. Two threads may look at once: both find the
   * same address. */
  Address Get() noexcept {
    Address bound = address.load(std::memory_order_acquire);
    if (bound) return bound;
    const HMODULE module = ::LoadLibraryExW(library, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (!module) return nullptr;
    bound = std::bit_cast<Address>(::GetProcAddress(module, function));
    if (!bound) {
      const DWORD reason = ::GetLastError();
      ::FreeLibrary(module);
      ::SetLastError(reason);
      return nullptr;
    }
    address.store(bound, std::memory_order_release);
    return bound;
  }

 private:
  const wchar_t* library;
  const char* function;
  Missing missing;
  std::atomic<Address> address{nullptr};
};

}  // namespace vtclass::platform

#endif
