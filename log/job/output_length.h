#ifndef VTCLASS_LOG_JOB_OUTPUT_LENGTH_H
#define VTCLASS_LOG_JOB_OUTPUT_LENGTH_H

#include <cstddef>

#include "strings/wide_text.h"

namespace vtclass::log {

/*
 * The capacity that the output buffer of a job log needs for `text`, as strings::EscapeInto writes
 * it: its last character begins more than the longest escape before the end of the buffer.
 * Nothing is written.
 */
std::size_t OutputCapacityFor(WideView text, bool escape);

}  // namespace vtclass::log

#endif
