#ifndef VTCLASS_NET_ANSI_NAME_H
#define VTCLASS_NET_ANSI_NAME_H

#include <string>

#include "strings/wide_text.h"

namespace vtclass::net {

/* The status of a name that the ANSI code page cannot hold. */
inline constexpr unsigned long kNotInAnsi = 0xFFFFFFFF;

/*
 * `name` in the ANSI code page, for calls that take no other text. 0 only when it comes back from
 * there unchanged and has no zero inside: in any other case the call would ask for another name
 * than the caller did. Otherwise kNotInAnsi, or 87 when the platform refuses the conversion or
 * `name` is empty.
 */
unsigned long ToAnsi(WideView name, std::string& ansi);

}  // namespace vtclass::net

#endif
