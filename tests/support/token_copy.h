#ifndef VTCLASS_TESTS_SUPPORT_TOKEN_COPY_H
#define VTCLASS_TESTS_SUPPORT_TOKEN_COPY_H

#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <optional>

#include "platform/owned.h"

namespace vtclass::test {

/* A token of this process's account that a thread may impersonate. */
inline platform::OwnedKernelObject TokenCopy() {
  platform::OwnedKernelObject process, copy;
  EXPECT_TRUE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_DUPLICATE, process.Receive()));
  EXPECT_TRUE(::DuplicateTokenEx(process.Get(), TOKEN_ALL_ACCESS, nullptr, SecurityImpersonation,
                                 TokenImpersonation, copy.Receive()));
  return copy;
}

inline LONGLONG TokenId(HANDLE token) {
  TOKEN_STATISTICS statistics = {};
  DWORD size = 0;
  EXPECT_TRUE(
      ::GetTokenInformation(token, TokenStatistics, &statistics, sizeof(statistics), &size));
  return LONGLONG{statistics.TokenId.HighPart} << 32 | statistics.TokenId.LowPart;
}

/* Of the token that this thread impersonates; nothing when it acts as the process. Two handles of
 * one token may tell two numbers, the thread's is the same each time. */
inline std::optional<LONGLONG> ThreadTokenId() {
  platform::OwnedKernelObject token;
  if (!::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, TRUE, token.Receive())) return {};
  return TokenId(token.Get());
}

/* Lets this thread impersonate a copy of its token for one scope, whatever happens in between. */
class Impersonating {
 public:
  Impersonating() { EXPECT_TRUE(::ImpersonateLoggedOnUser(token.Get())); }
  ~Impersonating() { ::RevertToSelf(); }
  Impersonating(const Impersonating&) = delete;
  Impersonating& operator=(const Impersonating&) = delete;

 private:
  platform::OwnedKernelObject token = TokenCopy();
};

}  // namespace vtclass::test

#endif
