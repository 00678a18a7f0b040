#ifndef VTCLASS_LOG_MESSAGES_MESSAGE_LANGUAGE_H
#define VTCLASS_LOG_MESSAGES_MESSAGE_LANGUAGE_H

#include "strings/wide_text.h"

namespace vtclass::log {

/* True for the two letters that may select a language. Everything else selects none: the code
 * becomes part of a file's name. */
bool IsLanguageCode(WideView code);

/* The Windows locale of a language code in either case, 0 for a code without one. */
unsigned LocaleOfLanguage(WideView code);

}  // namespace vtclass::log

#endif
