#ifndef VTSTDUTL_VTSTDUTL_H
#define VTSTDUTL_VTSTDUTL_H

#include <vtclass/win32.h>

#if defined(VTSTDUTL_BUILD)
#define VTSTDUTL_API __declspec(dllexport)
#else
#define VTSTDUTL_API __declspec(dllimport)
#endif

/*
 * Traces of the library code that has no log of its own. The process that hosts it decides where
 * they go: to the sink that it installs, usually its debug log, and to the debugger until then.
 */

/*
 * Receives the traces. `source` names the traced component and is never null; `level` is 0 or 1
 * for what matters always, higher for more detail; `text` is the formatted text without carriage
 * returns and line feeds at its end. The texts live until the sink returns. `context` is what was
 * installed with it.
 *
 * A sink is called on every thread that traces, by one at a time: it may be slow, but must not wait
 * for another thread that traces. It must neither throw nor trace. A thread that is killed in a
 * sink holds nobody up.
 */
using VTTraceSink = void (*)(const wchar_t* source, unsigned long level, const wchar_t* text,
                             void* context);

/*
 * Traces one text. `format` and what follows it are those of Microsoft's C run time for wide text
 * (%s is wide); a null `source` or `format` counts as empty. A text of more than 1,023 characters
 * is cut there, or before a surrogate pair that the cut would halve; one that cannot be formatted
 * gives the format itself. Carriage returns and line feeds at the end are taken off.
 *
 * Without a sink the debugger gets "source: text" and a line feed.
 *
 * Never fails, keeps the thread's last error, takes no heap memory. Threads: any.
 */
VTSTDUTL_API void VTTrace(const wchar_t* source, unsigned long level, const wchar_t* format, ...);

/*
 * Installs a sink in place of the former one; null goes back to the debugger. Waits until no thread
 * runs in the former sink, so the caller may free its `context` afterwards.
 * Requires: not called from within a sink, which would run on with what the caller frees.
 * Threads: any.
 */
VTSTDUTL_API void VTSetTraceSink(VTTraceSink sink, void* context);

#endif
