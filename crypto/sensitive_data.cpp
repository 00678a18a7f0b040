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

enum class Presence { there, missing, unknown };

// A function that cannot be looked up for want of memory, say, may be there the next time.
template <typename Function>
Presence PresenceOf(Function& function) noexcept {
  if (function.Get()) return Presence::there;
  const DWORD error = ::GetLastError();
  const bool isMissing = error == ERROR_MOD_NOT_FOUND || error == ERROR_PROC_NOT_FOUND;
  return isMissing ? Presence::missing : Presence::unknown;
}

bool Run(Protection& protection, void* memory, DWORD size) noexcept {
  const Presence current = PresenceOf(protection.current);
  if (current == Presence::there) {
    return protection.current(memory, size, CRYPTPROTECTMEMORY_SAME_PROCESS) == TRUE;
  }
  if (current == Presence::unknown) return false;
  const Presence older = PresenceOf(protection.older);
  if (older == Presence::there) {
    return protection.older(memory, size, CRYPTPROTECTMEMORY_SAME_PROCESS) == 0;
  }
  // On purpose the memory is used as it is where there is neither.
  return older == Presence::missing;
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
