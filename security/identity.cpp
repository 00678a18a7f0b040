#include <vtclass/win32.h>

#include <memory>
#include <new>
#include <string>
#include <utility>

#include "platform/no_throw.h"
#include "platform/owned.h"
#include "vtclass/security.h"

using vtclass::border::WideSink;
using vtclass::platform::OwnedKernelObject;

namespace {

using Bytes = std::unique_ptr<BYTE[]>;

// The token of whomever the calling thread acts as; empty when it cannot be opened. The process's
// stands for that of a thread that has none, and for no other: what a thread may not say of itself
// would come out as the service's account.
OwnedKernelObject CurrentToken() noexcept {
  HANDLE token = nullptr;
  // An older last error must not say that the thread has none.
  ::SetLastError(ERROR_SUCCESS);
  if (::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, FALSE, &token)) {
    return OwnedKernelObject(token);
  }
  if (::GetLastError() != ERROR_NO_TOKEN) return {};
  if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token)) return {};
  return OwnedKernelObject(token);
}

// The TOKEN_USER of that token; null when it is not to be had.
Bytes CurrentUser() noexcept {
  const OwnedKernelObject token = CurrentToken();
  if (!token) return nullptr;
  DWORD size = 0;
  ::SetLastError(ERROR_SUCCESS);
  if (::GetTokenInformation(token.Get(), TokenUser, nullptr, 0, &size) ||
      ::GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
    return nullptr;
  }
  Bytes user(new (std::nothrow) BYTE[size]);
  if (user && !::GetTokenInformation(token.Get(), TokenUser, user.get(), size, &size)) user.reset();
  return user;
}

PSID SidOf(const Bytes& user) { return reinterpret_cast<const TOKEN_USER*>(user.get())->User.Sid; }

struct Names {
  std::wstring domain;
  std::wstring user;
};

// Both are empty when they are not to be had.
Names NamesOf(PSID sid) {
  DWORD userRoom = 0;
  DWORD domainRoom = 0;
  SID_NAME_USE use = SidTypeUnknown;
  ::SetLastError(ERROR_SUCCESS);
  if (::LookupAccountSidW(nullptr, sid, nullptr, &userRoom, nullptr, &domainRoom, &use) ||
      ::GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
    return {};
  }
  Names names{std::wstring(domainRoom, L'\0'), std::wstring(userRoom, L'\0')};
  if (!::LookupAccountSidW(nullptr, sid, names.user.data(), &userRoom, names.domain.data(),
                           &domainRoom, &use)) {
    return {};
  }
  // On success the counts are those of the characters, without the terminators.
  names.domain.resize(domainRoom);
  names.user.resize(userRoom);
  return names;
}

}  // namespace

void vtclass::border::WhoAmI(const WideSink& domain, const WideSink& user) noexcept {
  domain.Resize(0);
  user.Resize(0);
  platform::StatusOf([&] {
    const Bytes current = CurrentUser();
    if (!current) return;
    const Names names = NamesOf(SidOf(current));
    if (domain.Assign(names.domain) && user.Assign(names.user)) return;
    domain.Resize(0);
    user.Resize(0);
  });
}

Impersonator::~Impersonator() { delete[] static_cast<BYTE*>(sid); }

bool Impersonator::GetSid(void*& out) noexcept {
  const Bytes current = CurrentUser();
  if (!current) return false;
  const DWORD size = ::GetLengthSid(SidOf(current));
  Bytes copy(new (std::nothrow) BYTE[size]);
  if (!copy || !::CopySid(size, copy.get(), SidOf(current))) return false;
  delete[] static_cast<BYTE*>(std::exchange(sid, copy.release()));
  out = sid;
  return true;
}
