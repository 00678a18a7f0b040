#include "tests/support/import_hook.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "platform/c_run_time.h"

#ifdef _MSC_VER
#include <dbghelp.h>
#pragma comment(lib, "dbghelp.lib")
#else
#include <cxxabi.h>
#endif

namespace vtclass::test {

namespace {

// One imported library: its name, and the tables of its functions' names and addresses.
struct ImportedLibrary {
  DWORD name;
  DWORD names;
  DWORD slots;
};

// Of IMAGE_IMPORT_DESCRIPTOR or IMAGE_DELAYLOAD_DESCRIPTOR.
ImportedLibrary Described(const IMAGE_IMPORT_DESCRIPTOR& library) {
  return {library.Name, library.OriginalFirstThunk, library.FirstThunk};
}
ImportedLibrary Described(const IMAGE_DELAYLOAD_DESCRIPTOR& library) {
  return {library.DllNameRVA, library.ImportNameTableRVA, library.ImportAddressTableRVA};
}

// What the compiler has made of a function's name is told by the compiler's own library.
bool Names(const char* imported, const char* function) {
  if (!std::strstr(function, "::")) return std::strcmp(imported, function) == 0;
#ifdef _MSC_VER
  char name[512] = {};
  ::UnDecorateSymbolName(imported, name, sizeof name, UNDNAME_NAME_ONLY);
  return std::strcmp(name, function) == 0;
#else
  const std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(imported, nullptr, nullptr, nullptr), &std::free);
  const std::size_t length = std::strlen(function);
  return name && std::strncmp(name.get(), function, length) == 0 && name.get()[length] == '(';
#endif
}

void** FindSlot(BYTE* base, const ImportedLibrary& library, const char* function) {
  const auto* names = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + library.names);
  auto* slots = reinterpret_cast<IMAGE_THUNK_DATA*>(base + library.slots);
  for (; names->u1.AddressOfData != 0; ++names, ++slots) {
    if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) continue;
    const auto* const entry =
        reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
    if (Names(reinterpret_cast<const char*>(entry->Name), function)) {
      return reinterpret_cast<void**>(&slots->u1.Function);
    }
  }
  return nullptr;
}

template <typename Descriptor>
void** FindIn(int directory, HMODULE module, const char* library, const char* function) {
  auto* const base = reinterpret_cast<BYTE*>(module);
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const DWORD table = headers->OptionalHeader.DataDirectory[directory].VirtualAddress;
  if (table == 0) return nullptr;
  auto* descriptor = reinterpret_cast<const Descriptor*>(base + table);
  for (; Described(*descriptor).name != 0; ++descriptor) {
    const ImportedLibrary imported = Described(*descriptor);
    const auto* const name = reinterpret_cast<const char*>(base + imported.name);
    if (library && ::lstrcmpiA(name, library) != 0) continue;
    if (void** const slot = FindSlot(base, imported, function)) return slot;
  }
  return nullptr;
}

// Whoever wants to know which tests meet the system itself alone (scripts/windows-kit) sets this.
bool IsToldOfHooks() { return ::GetEnvironmentVariableA("VTCLASS_TELL_HOOKS", nullptr, 0) != 0; }

}  // namespace

void** FindImport(HMODULE module, const char* library, const char* function) {
  void** const slot =
      FindIn<IMAGE_IMPORT_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_IMPORT, module, library, function);
  return slot ? slot
              : FindIn<IMAGE_DELAYLOAD_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT, module,
                                                   library, function);
}

HMODULE LibraryUnderTest() {
  // Loaded, not only looked up: a test that calls nothing of the DLL has no import of it.
  static const HMODULE library = ::LoadLibraryW(L"vtclass_mini.dll");
  return library;
}

HMODULE CRunTime() {
  return ::GetModuleHandleW(VTCLASS_UNIVERSAL_CRT ? L"ucrtbase.dll" : L"msvcrt.dll");
}

void** FindImportOrFail(HMODULE module, const char* library, const char* function) {
  if (testing::UnitTest::GetInstance()->current_test_info() && IsToldOfHooks()) {
    std::printf("Hooks %s\n", function);
  }
  void** const slot = FindImport(module, library, function);
  EXPECT_NE(slot, nullptr) << "the module does not import " << function;
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
