#ifndef VTCLASS_LOG_MESSAGES_MESSAGE_LIBRARY_H
#define VTCLASS_LOG_MESSAGES_MESSAGE_LIBRARY_H

#include "platform/owned.h"

namespace vtclass::log {

/* The message library that ErrorMessageBase has loaded, kept loaded by what is returned; empty when
 * there is none. Loads nothing, as that would give the calling thread another locale, and waits for
 * nobody. */
platform::OwnedModule HoldMessageLibrary() noexcept;

}  // namespace vtclass::log

#endif
