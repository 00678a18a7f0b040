#ifndef VTCLASS_TESTS_SUPPORT_IMPORT_HOOK_H
#define VTCLASS_TESTS_SUPPORT_IMPORT_HOOK_H

#include <vtclass/win32.h>

#include <type_traits>

namespace vtclass::test {

/* The slot of an imported function in a module's import table, or in that of the libraries it loads
 * at the first call; null when it is not imported. */
void** FindImport(HMODULE module, const char* library, const char* function);

/* The DLL under test. */
HMODULE LibraryUnderTest();

/*
 * Replaces one function that a module, the DLL under test unless another is named, imports, for
 * one scope. Only that module's own calls are changed: all others keep the real function. A
 * function that the module does not import (any more) fails the test. Hooks of one function may be
 * nested. Original() of a function of a library that loads at the first call undoes the hook when
 * it is that first call.
 *
 *   ImportHook<decltype(::GetVersionExW)> hook("KERNEL32.dll", "GetVersionExW", &Windows2000);
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

}  // namespace vtclass::test

#endif
