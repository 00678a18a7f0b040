#ifndef VTCLASS_TOOLS_VTCTL_SECURITY_LOGON_H
#define VTCLASS_TOOLS_VTCTL_SECURITY_LOGON_H

#include <optional>
#include <string>
#include <vector>

#include "tools/vtctl/security/acting.h"
#include "tools/vtctl/security/token.h"
#include "tools/vtctl/shared/secret.h"

namespace vtctl {

/* The kind of logon that the library has asked the system for, as its traces tell it. */
struct LogonType {
  unsigned long number = 0;
  std::wstring name; /* "LOGON32_LOGON_BATCH" */
};

/* What has chosen the kind. */
struct TypeChoice {
  enum Origin { stored, standard, unknown } origin = unknown;
  std::wstring why; /* a sentence */
};

/* A logon as agents do it, from the first identity to the last. */
struct LogonReport {
  std::vector<std::wstring> traces; /* what the library says of it */
  std::optional<LogonType> type;    /* none: it ended before */
  TypeChoice choice;
  bool isLoggedOn = false;      /* the system has given a token */
  unsigned long error = 0;      /* why nobody is impersonated */
  Acting before, during, after; /* `during` where somebody is */
  std::optional<TokenFacts> token;
  bool isReverted = false; /* in the end the thread acts as it did before */
};

/* Logs on, lets this thread act as the account for a moment and ends that. */
LogonReport TryLogon(const std::wstring& account, const Secret& password);

}  // namespace vtctl

#endif
