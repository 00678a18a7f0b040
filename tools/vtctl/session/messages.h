#ifndef VTCLASS_TOOLS_VTCTL_SESSION_MESSAGES_H
#define VTCLASS_TOOLS_VTCTL_SESSION_MESSAGES_H

#include <string>
#include <vector>

#include "messages/message_codes.h"
#include "messages/message_ids.h"
#include "tools/vtctl/session/text.h"
#include "tools/vtctl/shared/number_text.h"
#include "vtclass/log.h"

namespace vtctl {

/* The message texts in the reader's language, and how that language writes numbers. */
class Messages {
 public:
  /*
   * `language` is the two-letter code of one of the message libraries beside the program; empty
   * stands for the one that the product's settings choose. A missing library of a language gives
   * English. Also makes the language the thread's, for the system's own words. False when there
   * is no message library at all.
   */
  bool Load(const std::wstring& language);

  /* True when Load had to fall back to English. */
  bool LanguageMissing() const { return languageMissing; }

  std::wstring Text(unsigned id, const std::vector<std::wstring>& arguments = {}) const;
  std::wstring Number(uint64_t number) const { return Grouped(number, style); }
  std::wstring Size(uint64_t bytes) const { return WithUnit(bytes, style); }
  std::wstring Elapsed(uint64_t milliseconds) const { return Duration(milliseconds, style); }

  const StringResourceMgr& Source() const { return source; }

 private:
  StringResourceMgr source;
  NumberStyle style;
  bool languageMissing = false;
};

/* The language codes that Load knows, in capitals. */
std::vector<std::string> KnownLanguages();

}  // namespace vtctl

#endif
