#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstring>
#include <string>

#include "tests/support/import_hook.h"
#include "tests/support/library_copy.h"
#include "tests/support/wine.h"
#include "vtclass/crypto.h"

namespace {

using vtclass::test::ImportHook;
using vtclass::test::LibraryCopy;

// The pair's system, as a test states it.
struct System {
  bool hasCrypt32, hasCurrent, hasOlder;
  LONG currentAnswer, olderAnswer;
} played;

int currentCalls, olderCalls;
DWORD loadError;  // of every library

LONG Flip(void* memory, DWORD size, LONG answer, BYTE mask) {
  for (DWORD i = 0; i < size; ++i) static_cast<BYTE*>(memory)[i] ^= mask;
  return answer;
}

LONG WINAPI Current(void* memory, DWORD size, DWORD flags) {
  EXPECT_EQ(flags, 0u);
  ++currentCalls;
  return Flip(memory, size, played.currentAnswer, 0x55);
}

LONG WINAPI Older(void* memory, ULONG size, ULONG flags) {
  EXPECT_EQ(flags, 0u);
  ++olderCalls;
  return Flip(memory, size, played.olderAnswer, 0x33);
}

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
  ::SetLastError(ERROR_PROC_NOT_FOUND);
  const std::string function = name;
  const bool isCrypt32 = module == ::GetModuleHandleW(L"crypt32.dll");
  if (isCrypt32 && (function == "CryptProtectMemory" || function == "CryptUnprotectMemory")) {
    return played.hasCurrent ? std::bit_cast<FARPROC>(&Current) : nullptr;
  }
  if (!isCrypt32 && (function == "SystemFunction040" || function == "SystemFunction041")) {
    return played.hasOlder ? std::bit_cast<FARPROC>(&Older) : nullptr;
  }
  ADD_FAILURE() << function;
  return nullptr;
}

HMODULE WINAPI Load(LPCWSTR name, HANDLE file, DWORD flags) {
  EXPECT_EQ(flags, DWORD{LOAD_LIBRARY_SEARCH_SYSTEM32});
  const bool isMissing = !played.hasCrypt32 && _wcsicmp(name, L"crypt32.dll") == 0;
  if (!isMissing && loadError == ERROR_SUCCESS) return ::LoadLibraryExW(name, file, flags);
  ::SetLastError(isMissing ? DWORD{ERROR_MOD_NOT_FOUND} : loadError);
  return nullptr;
}

// What the library gives back before anybody has seen it is wiped.
HLOCAL WINAPI FreeWiped(HLOCAL block) {
  const std::string bytes(static_cast<const char*>(block), ::LocalSize(block));
  EXPECT_EQ(bytes.find_first_not_of('\0'), std::string::npos);
  return ::LocalFree(block);
}

// What is looked up stays: a library that has not looked yet, as a new process has.
struct NewLibrary {
  const LibraryCopy copy{L"vtclass_mini.dll"};
  const ImportHook<decltype(::GetProcAddress)> lookUp{"KERNEL32.dll", "GetProcAddress", &LookUp,
                                                      copy.Module()};
  const ImportHook<decltype(::LoadLibraryExW)> load{"KERNEL32.dll", "LoadLibraryExW", &Load,
                                                    copy.Module()};
  const ImportHook<decltype(::LocalFree)> free{"KERNEL32.dll", "LocalFree", &FreeWiped,
                                               copy.Module()};
};

TEST(SensitiveData, IsProtectedByTheFirstPairThatIsThere) {
  constexpr unsigned kFailed = 0xFFFFFFFF;
  const struct {
    System system;
    unsigned status;
    BYTE mask;
    int currentCalls, olderCalls;
  } cases[] = {
      {{true, true, true, 1, 0}, 0, 0x55, 1, 0},      {{true, true, true, 2, 0}, kFailed, 0, 1, 0},
      {{true, true, true, 0, 0}, kFailed, 0, 1, 0},   {{true, false, true, 1, 0}, 0, 0x33, 0, 1},
      {{false, true, true, 1, 0}, 0, 0x33, 0, 1},     {{false, true, true, 1, 1}, kFailed, 0, 0, 1},
      {{true, false, true, 1, -5}, kFailed, 0, 0, 1}, {{false, false, false, 1, 1}, 0, 0, 0, 0},
  };
  const std::wstring text = L"a secret of 20 units";
  for (const auto& [system, status, mask, current, older] : cases) {
    played = system;
    currentCalls = olderCalls = 0;
    const NewLibrary library;
    const LibraryCopy& copy = library.copy;
    wchar_t* buffer = const_cast<wchar_t*>(text.c_str());
    unsigned long size = 7;
    EXPECT_EQ(copy(&ADSI::SaveSensitiveData)(text.c_str(), &buffer, &size), status);
    EXPECT_EQ(currentCalls, current);
    EXPECT_EQ(olderCalls, older);
    if (status == 0) {
      ASSERT_EQ(size, 48u);
      std::array<BYTE, 48> expected = {};
      std::memcpy(expected.data(), text.data(), 2 * text.size());
      Flip(expected.data(), 48, 0, mask);
      EXPECT_EQ(std::memcmp(buffer, expected.data(), 48), 0);
      EXPECT_EQ(copy(&ADSI::GetSensitiveData)(buffer, size), 0u);
      EXPECT_EQ(buffer, text);
      played.currentAnswer = 2;
      played.olderAnswer = 1;
      EXPECT_EQ(copy(&ADSI::GetSensitiveData)(buffer, size), mask == 0 ? 0 : kFailed);
    } else {
      EXPECT_EQ(buffer, nullptr);
      EXPECT_EQ(size, 0u);
    }
    ::LocalFree(buffer);
  }
}

// Plain text for want of memory, or a copy that stays enciphered, would be told as a success.
TEST(SensitiveData, PairThatCannotBeLoadedNow_IsNotMissing) {
  played = {true, true, true, 1, 0};
  const NewLibrary library;
  const LibraryCopy& copy = library.copy;
  wchar_t* buffer = nullptr;
  unsigned long size = 0;
  for (const auto error :
       {DWORD{ERROR_NOT_ENOUGH_MEMORY}, DWORD{ERROR_COMMITMENT_LIMIT}, DWORD{0}}) {
    loadError = error;
    EXPECT_EQ(copy(&ADSI::SaveSensitiveData)(L"secret", &buffer, &size), error == 0 ? 0 : ~0u);
    EXPECT_EQ(buffer != nullptr, error == 0);
  }
  for (const auto error : {DWORD{ERROR_NOT_ENOUGH_MEMORY}, DWORD{0}}) {
    loadError = error;
    EXPECT_EQ(copy(&ADSI::GetSensitiveData)(buffer, size), error == 0 ? 0 : ~0u);
  }
  EXPECT_STREQ(buffer, L"secret");
  ::LocalFree(buffer);
}

TEST(SensitiveData, ComesBackFromTheSystem_InWholeBlocks) {
  for (std::size_t length = 0; length < 40; ++length) {
    const std::wstring text(length, L's');
    wchar_t* buffer = nullptr;
    unsigned long size = 0;
    ASSERT_EQ(ADSI::SaveSensitiveData(text.c_str(), &buffer, &size), 0u);
    EXPECT_EQ(size, (2 * length + 2 + 15) / 16 * 16);
    EXPECT_EQ(ADSI::GetSensitiveData(buffer, size), 0u);
    EXPECT_EQ(buffer, text);
    ::LocalFree(buffer);
  }
}

TEST(SensitiveData, IsNotReadableInMemory) {
  VTCLASS_SKIP_UNDER_WINE("its memory protection leaves memory as it is");
  wchar_t* buffer = nullptr;
  unsigned long size = 0;
  ASSERT_EQ(ADSI::SaveSensitiveData(L"secret", &buffer, &size), 0u);
  EXPECT_NE(std::memcmp(buffer, L"secret", 12), 0);
  ::LocalFree(buffer);
}

TEST(SensitiveData, NullAndLackOfMemory_GiveNothing) {
  constexpr unsigned kFailed = 0xFFFFFFFF;
  wchar_t some[8] = L"secret";
  wchar_t* buffer = some;
  unsigned long size = 7;
  EXPECT_EQ(ADSI::SaveSensitiveData(nullptr, &buffer, &size), kFailed);
  EXPECT_EQ(buffer, nullptr);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(ADSI::SaveSensitiveData(L"secret", nullptr, &size), kFailed);
  EXPECT_EQ(ADSI::SaveSensitiveData(L"secret", &buffer, nullptr), kFailed);
  EXPECT_EQ(ADSI::GetSensitiveData(nullptr, 16), kFailed);
  const auto noMemory = vtclass::test::Replace<decltype(::LocalAlloc)>(
      "LocalAlloc", [](auto...) { return HLOCAL{}; });
  buffer = some;
  EXPECT_EQ(ADSI::SaveSensitiveData(L"secret", &buffer, &size), kFailed);
  EXPECT_EQ(buffer, nullptr);
}

}  // namespace
