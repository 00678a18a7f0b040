#ifndef VTCLASS_LOG_ANSI_TEXT_H
#define VTCLASS_LOG_ANSI_TEXT_H

#include <vtclass/win32.h>

#include <cstddef>
#include <memory>

#include "strings/wide_text.h"

namespace vtclass::log {

/*
 * Converts `text` into the system's ANSI code page: `*bytes` are then in `out`, without a zero.
 * ERROR_INSUFFICIENT_BUFFER when `room` is too small; otherwise what the platform refuses it for.
 * After a failure `*bytes` is 0.
 */
DWORD ConvertToAnsi(WideView text, char* out, std::size_t room, std::size_t* bytes);

/* The same into a log's buffer, which grows to the needed size and 128 bytes more. */
DWORD ConvertToAnsi(WideView text, std::unique_ptr<char[]>& buffer, std::size_t& capacity,
                    std::size_t* bytes);

}  // namespace vtclass::log

#endif
