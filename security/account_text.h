#ifndef VTCLASS_SECURITY_ACCOUNT_TEXT_H
#define VTCLASS_SECURITY_ACCOUNT_TEXT_H

#include "strings/wide_text.h"

/* What the texts and numbers of a logon look like. Nothing here asks the system. */
namespace vtclass::security {

struct AccountParts {
  WideView domain;
  const WideUnit* user; /* the account's end, up to its zero */
};

/* DOMAIN\user at its first backslash; a user alone has an empty domain. */
constexpr AccountParts SplitAccount(const WideUnit* account) noexcept {
  const WideView text = account;
  const auto backslash = text.find(WideUnit{'\\'});
  if (backslash == WideView::npos) return {text.substr(0, 0), account};
  return {text.substr(0, backslash), account + backslash + 1};
}

/* The name by which traces call a type of logon. */
constexpr const WideUnit* LogonTypeName(unsigned long type) noexcept {
  switch (type) {
    case 2:
      return VTCLASS_WIDE("LOGON32_LOGON_INTERACTIVE");
    case 3:
      return VTCLASS_WIDE("LOGON32_LOGON_NETWORK");
    case 4:
      return VTCLASS_WIDE("LOGON32_LOGON_BATCH");
    case 5:
      return VTCLASS_WIDE("LOGON32_LOGON_SERVICE");
    case 7:
      return VTCLASS_WIDE("LOGON32_LOGON_UNLOCK");
    case 8:
      return VTCLASS_WIDE("LOGON32_LOGON_NETWORK_CLEARTEXT");
    case 9:
      return VTCLASS_WIDE("LOGON32_LOGON_NEW_CREDENTIALS");
    default:
      return VTCLASS_WIDE("Type not found");
  }
}

/* The number that the text of an error is sought under. The product's own statuses, small negative
 * numbers, have theirs among the messages that bit 29 marks as a customer's. */
constexpr unsigned long MessageNumber(unsigned long error) noexcept {
  return (error & 0xFFFF0000) == 0xFFFF0000 ? error & 0xA000FFFF : error;
}

}  // namespace vtclass::security

#endif
