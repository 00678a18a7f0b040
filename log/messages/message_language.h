#ifndef VTCLASS_LOG_MESSAGES_MESSAGE_LANGUAGE_H
#define VTCLASS_LOG_MESSAGES_MESSAGE_LANGUAGE_H

#include "strings/wide_text.h"

namespace vtclass::log {

struct Language {
  WideUnit code[3];
  unsigned locale; /* of Windows */
};

/* The languages that have a locale; the message libraries carry the codes in their names. */
inline constexpr Language kLanguages[] = {
    {VTCLASS_WIDE("EN"), 1033}, {VTCLASS_WIDE("FR"), 1036}, {VTCLASS_WIDE("ES"), 1034},
    {VTCLASS_WIDE("JP"), 1041}, {VTCLASS_WIDE("DE"), 1031}, {VTCLASS_WIDE("IT"), 1040},
    {VTCLASS_WIDE("ZH"), 2052}, {VTCLASS_WIDE("CH"), 1028}, {VTCLASS_WIDE("KO"), 1042},
    {VTCLASS_WIDE("RU"), 1049}, {VTCLASS_WIDE("PT"), 1046},
};

/* True for the two letters that may select a language. Everything else selects none: the code
 * becomes part of a file's name. */
bool IsLanguageCode(WideView code);

/* The Windows locale of a language code in either case, 0 for a code without one. */
unsigned LocaleOfLanguage(WideView code);

}  // namespace vtclass::log

#endif
