#ifndef VTCLASS_JOBLOG_UTF8_H
#define VTCLASS_JOBLOG_UTF8_H

#include <string>
#include <string_view>

namespace vtclass::joblog {

/* UTF-8 of UTF-16; a lone surrogate becomes U+FFFD. */
void AppendUtf8(std::u16string_view text, std::string& to);
std::string Utf8(std::u16string_view text);

/*
 * Appends UTF-8 text with its control characters made visible (U+2400 and on; a tab stays, a line
 * feed becomes `lineEnd`), because a log holds names that anybody may have chosen: an escape
 * sequence must not reach the terminal. The C1 controls, ends of lines and paragraphs and what
 * turns the direction of writing are replaced for the same reason.
 */
void AppendPrintable(std::string_view text, std::string_view lineEnd, std::string& to);

}  // namespace vtclass::joblog

#endif
