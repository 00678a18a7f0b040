#ifndef VTCLASS_TOOLS_VTCTL_SHARED_CONSOLE_H
#define VTCLASS_TOOLS_VTCTL_SHARED_CONSOLE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace vtctl {

/*
 * Text for people: UTF-16 to a console window, whatever its code page; UTF-8 bytes to a file or a
 * pipe. A text that cannot be written (the disk is full, the reader has gone) is dropped, and
 * EndCode tells of standard output that it happened. Not for several threads.
 */
void Print(std::wstring_view text);
void PrintError(std::wstring_view text);
/* Says something beside the answer, on standard error: "vtctl: " and the sentence. */
void Remark(const std::wstring& sentence);
/* Says what went wrong, on standard error and with --json as JSON too, and returns the exit code.
 */
int Fail(int exitCode, const std::wstring& sentence);
/* The same with the system's words for `status` behind a colon. */
int Fail(int exitCode, const std::wstring& what, unsigned long status);
/* The same with a sentence that holds them already. */
int FailWith(int exitCode, unsigned long status, const std::wstring& sentence);
/* UTF-8 text, for what other libraries produce. */
void PrintUtf8(std::string_view text);
/* A secret, on standard output: its bytes as they are to a file or a pipe; to a console window as
 * text, printable, of UTF-8 or else of the ANSI code page. Leaves no copy in memory. */
void PrintSecret(std::string_view bytes);

/* What the program ends with: `code`, or kExitCannotWrite, and it says so, when output is lost. */
int EndCode(int code);

/* True when something could not be printed: nobody reads standard output any more. */
bool OutputIsLost();

/* From now on nothing is printed but errors. */
void DropOutput();

/* True when standard output is a terminal that shows colours and a moving progress bar. */
bool OutputIsTerminal();
/* From now on ColoursWanted is false. */
void ForbidColours();
/* True when that terminal is there and the operator has nothing against colours: NO_COLOR in the
 * environment, when it is not empty, forbids them. */
bool ColoursWanted();
/* The columns of that terminal; 80 when there is none. */
int TerminalWidth();

/* A line on standard error that is written over again and again, for where that is a terminal. */
bool ErrorIsTerminal();
/* The columns that such a line can have. */
size_t StatusColumns();
/* Shows it, cut to those columns; what is printed next covers it. */
void PrintStatus(const std::wstring& line);
void ClearStatus();

std::wstring FromUtf8(std::string_view text);
std::string ToUtf8(std::wstring_view text);

}  // namespace vtctl

#endif
