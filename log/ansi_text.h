#ifndef VTCLASS_LOG_ANSI_TEXT_H
#define VTCLASS_LOG_ANSI_TEXT_H

#include <vtclass/win32.h>

#include <cstddef>

#include "log/work_buffer.h"
#include "strings/wide_text.h"

namespace vtclass::log {

/*
 * What becomes of a character that the code page does not hold. In a plain text the platform may
 * put one that looks like it. In markup that would make tags of text: the full-width bracket U+FF1C
 * looks like "<". There "?" stands for every such character.
 */
enum class AnsiText { plain, markup };

/*
 * Converts `text` into the system's ANSI code page: `*bytes` are then in `out`, without a zero.
 * ERROR_INSUFFICIENT_BUFFER when `room` is too small; otherwise what the platform refuses it for.
 * After a failure `*bytes` is 0.
 */
DWORD ConvertToAnsi(WideView text, char* out, std::size_t room, std::size_t* bytes,
                    AnsiText kind = AnsiText::plain);

/* The same into a log's buffer, which grows to the needed size and 128 bytes more. */
DWORD ConvertToAnsi(WideView text, WorkBuffer<char>& buffer, std::size_t* bytes,
                    AnsiText kind = AnsiText::plain);

}  // namespace vtclass::log

#endif
