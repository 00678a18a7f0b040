#ifndef VTCLASS_TESTS_SUPPORT_IMPORT_HOOK_H
#define VTCLASS_TESTS_SUPPORT_IMPORT_HOOK_H

#include <vtclass/win32.h>

#include <type_traits>
#include <utility>

namespace vtclass::test {

/* The slot of an imported function in a module's import table, or in that of the libraries it loads
 * at the first call; null when it is not imported. From whatever library where that is null, as for
 * the C run time's functions, which one library has or a dozen. A function of C++ is named as in
 * the source, with what it lies in and without parameters: VTSocket::GetAddrInfoWithTimeOut. */
void** FindImport(HMODULE module, const char* library, const char* function);

/* The DLL under test. */
HMODULE LibraryUnderTest();

/* The C run time, whose functions a test finds there also while its own way to them is hooked. */
HMODULE CRunTime();

/*
 * Replaces one function that a module, the DLL under test unless another is named, imports, for
 * one scope. Only that module's own calls are changed: all others keep the real function. A
 * function that the module does not import (any more) fails the test. Hooks of one function may be
 * nested. Original() of a function of a library that loads at the first call undoes the hook when
 * it is that first call.
 *
 *   ImportHook<decltype(::GetTickCount64)> hook("KERNEL32.dll", "GetTickCount64", &Tomorrow);
 */
template <typename Function>
class ImportHook {
 public:
  ImportHook(const char* library, const char* function, Function* replacement,
             HMODULE module = LibraryUnderTest());
  ~ImportHook();
  ImportHook(const ImportHook&) = delete;
  ImportHook& operator=(const ImportHook&) = delete;

  Function* Original() const { return reinterpret_cast<Function*>(original); }

 private:
  void** slot;
  void* original;
};

/* The untyped work behind ImportHook: stores `value` in a write-protected slot, returns the old. */
void* PatchSlot(void** slot, void* value);
void** FindImportOrFail(HMODULE module, const char* library, const char* function);

template <typename Function>
ImportHook<Function>::ImportHook(const char* library, const char* function, Function* replacement,
                                 HMODULE module)
    : slot(FindImportOrFail(module, library, function)),
      original(slot ? PatchSlot(slot, reinterpret_cast<void*>(replacement)) : nullptr) {}

template <typename Function>
ImportHook<Function>::~ImportHook() {
  if (slot) PatchSlot(slot, original);
}

template <typename Function, typename Replacement>
class Replaced;
template <typename Result, typename... Arguments, typename Replacement>
class Replaced<Result(Arguments...), Replacement> {
  static_assert(std::is_class_v<Replacement>, "each lambda has its own state, functions have none");

 public:
  Replaced(const char* function, Replacement replacement, HMODULE module)
      : replacement(std::move(replacement)), hook(nullptr, function, &Call, module) {}

 private:
  struct Current {
    explicit Current(Replaced* self) : outer(std::exchange(current, self)) {}
    ~Current() { current = outer; }
    Replaced* outer;
  };
  static Result Call(Arguments... arguments) { return current->replacement(arguments...); }

  static inline Replaced* current;
  mutable Replacement replacement;
  const Current self{this};
  const ImportHook<Result(Arguments...)> hook;
};

/*
 * The same with a lambda, which has what it needs from the test; the function is found in whatever
 * library it is imported from. No other thread may be calling the function when the scope ends.
 *
 *   const auto hook = Replace<decltype(::DeleteFileW)>("DeleteFileW", [&](auto...) { return no; });
 */
template <typename Function, typename Replacement>
auto Replace(const char* function, Replacement replacement, HMODULE module = LibraryUnderTest()) {
  return Replaced<Function, Replacement>(function, std::move(replacement), module);
}

}  // namespace vtclass::test

#endif
