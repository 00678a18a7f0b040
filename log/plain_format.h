#ifndef VTCLASS_LOG_PLAIN_FORMAT_H
#define VTCLASS_LOG_PLAIN_FORMAT_H

#include <cstdarg>
#include <cstddef>

#include "strings/wide_text.h"

namespace vtclass::log {

/*
 * Formats what nearly every line of a job log is made of, in a fraction of the time that the C run
 * time's formatter takes and with the same result: plain characters and, without flags, width or
 * precision, %s (wide text, null as "(null)"), %d, %i, %u, %ld, %lu and %%.
 *
 * Returns the length of the whole text, without its zero; -1 when the format holds anything else
 * or the text is longer than an int can tell. Only when the length is below `capacity` does `out`
 * hold the text, zero-terminated; otherwise what it holds means nothing. `arguments` stays as it
 * is. Requires: `out` has room for `capacity` characters; `capacity` is not 0.
 */
int FormatPlain(WideUnit* out, std::size_t capacity, const WideUnit* format, va_list arguments);

}  // namespace vtclass::log

#endif
