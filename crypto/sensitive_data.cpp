#include <vtclass/win32.h>

#include <dpapi.h>

#include <cstring>
#include <cwchar>

#include "crypto/wipe.h"
#include "platform/bound_function.h"
#include "platform/checked_cast.h"
#include "platform/owned.h"
#include "vtclass/crypto.h"

namespace vtclass::crypto {

namespace {

constexpr unsigned int kFailed = ~0u;

// The older pair has no declaration; its options are those of the other: 0 is this process.
using SystemFunction = LONG WINAPI(void* memory, ULONG size, ULONG options);

struct Protection {
  platform::BoundFunction<decltype(::CryptProtectMemory)> current;
  platform::BoundFunction<SystemFunction> older;
};

constinit Protection protect = {{L"crypt32.dll", "CryptProtectMemory", FALSE},
                                {L"advapi32.dll", "SystemFunction040", 0}};
constinit Protection unprotect = {{L"crypt32.dll", "CryptUnprotectMemory", FALSE},
                                  {L"advapi32.dll", "SystemFunction041", 0}};

bool Run(Protection& protection, void* memory, DWORD size) noexcept {
  if (protection.current.Get()) {
    return protection.current(memory, size, CRYPTPROTECTMEMORY_SAME_PROCESS) == TRUE;
  }
  // Missing too, it answers the 0 of a success: on purpose the memory is then used as it is.
  return protection.older(memory, size, CRYPTPROTECTMEMORY_SAME_PROCESS) == 0;
}

}  // namespace

}  // namespace vtclass::crypto

using namespace vtclass;
using namespace vtclass::crypto;

unsigned int ADSI::SaveSensitiveData(const wchar_t* text, wchar_t** protectedBuffer,
                                     unsigned long* size) noexcept {
  if (protectedBuffer) *protectedBuffer = nullptr;
  if (size) *size = 0;
  if (!text || !protectedBuffer || !size) return kFailed;
  const std::size_t textBytes = (std::wcslen(text) + 1) * sizeof(wchar_t);
  constexpr std::size_t kBlock = CRYPTPROTECTMEMORY_BLOCK_SIZE;
  const auto bytes = platform::CheckedCast<DWORD>((textBytes + kBlock - 1) / kBlock * kBlock);
  if (!bytes) return kFailed;
  platform::OwnedLocalMemory buffer(::LocalAlloc(LPTR, *bytes));
  if (!buffer) return kFailed;
  std::memcpy(buffer.Get(), text, textBytes);
  if (!Run(protect, buffer.Get(), *bytes)) {
    Wipe(buffer.Get(), *bytes);
    return kFailed;
  }
  *size = *bytes;
  *protectedBuffer = static_cast<wchar_t*>(buffer.Release());
  return 0;
}

unsigned int ADSI::GetSensitiveData(wchar_t* buffer, unsigned long size) noexcept {
  return buffer && Run(unprotect, buffer, size) ? 0 : kFailed;
}
