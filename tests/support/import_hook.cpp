#include "tests/support/import_hook.h"

#include <gtest/gtest.h>

#include <cstring>

namespace vtclass::test {

void** FindImport(HMODULE module, const char* library, const char* function) {
  auto* const base = reinterpret_cast<BYTE*>(module);
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const DWORD table =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
  if (table == 0) return nullptr;
  auto* descriptor = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + table);
  for (; descriptor->Name != 0; ++descriptor) {
    const auto* const name = reinterpret_cast<const char*>(base + descriptor->Name);
    if (::lstrcmpiA(name, library) != 0) continue;
    const auto* names =
        reinterpret_cast<const IMAGE_THUNK_DATA*>(base + descriptor->OriginalFirstThunk);
    auto* slots = reinterpret_cast<IMAGE_THUNK_DATA*>(base + descriptor->FirstThunk);
    for (; names->u1.AddressOfData != 0; ++names, ++slots) {
      if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) continue;
      const auto* const entry =
          reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
      if (std::strcmp(reinterpret_cast<const char*>(entry->Name), function) == 0) {
        return reinterpret_cast<void**>(&slots->u1.Function);
      }
    }
  }
  return nullptr;
}

HMODULE LibraryUnderTest() {
  // Loaded, not only looked up: a test that calls nothing of the DLL has no import of it.
  static const HMODULE library = ::LoadLibraryW(L"vtclass_mini.dll");
  return library;
}

void** FindImportOrFail(HMODULE module, const char* library, const char* function) {
  void** const slot = FindImport(module, library, function);
  EXPECT_NE(slot, nullptr) << "the module does not import " << function << " from " << library;
  return slot;
}

void* PatchSlot(void** slot, void* value) {
  DWORD protection = 0;
  ::VirtualProtect(static_cast<void*>(slot), sizeof(*slot), PAGE_READWRITE, &protection);
  void* const old = *slot;
  *slot = value;
  ::VirtualProtect(static_cast<void*>(slot), sizeof(*slot), protection, &protection);
  return old;
}

}  // namespace vtclass::test
