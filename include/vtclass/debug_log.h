#ifndef VTCLASS_DEBUG_LOG_H
#define VTCLASS_DEBUG_LOG_H

#include <vtclass/win32.h>

#include <cstdarg>

#include "vtclass/border.h"
#include "vtclass/export.h"
#include "vtclass/log.h"
#include "vtclass/strings.h"

/* What a debug log goes by: its switches as they were last read, and the limits in force. */
struct DebugLogSettings {
  enum Mode {
    rollsSimply = 0, /* a further file every 20 MB: trace.log, trace-2.log, trace-3.log ... */
    renames = 1,     /* the file becomes trace.log.bak1, .bak2 ... and a fresh one begins */
    wraps = 2        /* one file, whose newest part moves to its front */
  };
  Mode mode = rollsSimply;
  unsigned long long maximumSize = 0;   /* bytes of all files; 0 with the simple roll */
  unsigned long long retentionSize = 0; /* bytes that a wrap keeps; 0 with the simple roll */
  unsigned long count = 0;              /* rotated files, 1 to 200; 0 in the other modes */
  wcstring extension;                   /* of rotated files, without their number */
  bool refused = false; /* the stored limits cannot be used: the simple roll stands in */
  unsigned long createDebugLog = 0; /* "CreateDebugLog" */
  unsigned long append = 0;         /* "MaxDebugFile Append"; changes nothing else */
  bool message = false;             /* "MaxDebugFile Msg" is 1; changes nothing else */
};

/*
 * The diagnostic trace file of a component: formatted texts, appended line by line, in UTF-16 with
 * a byte-order mark or in the system's ANSI code page. No time and no thread number is added: the
 * caller's format carries what it wants.
 *
 * Its settings are values of the product's logging key (Engine\Logging below the product root):
 *
 *   CreateDebugLog                     UpdateSettings opens the file when this is not 0
 *   MaxDebugFile Enabled               not 0: limits as below; 0 or missing: the simple roll
 *   MaxDebugFile LimitMode             1 wraps; anything else renames
 *   MaxDebugFile Size In MB            4
 *   MaxDebugFile Retention Size In MB  1; must be below the size, or 4 and 1 count
 *   MaxDebugFile Count                 1; rotated files, 1 to 200
 *   MaxDebugFile Ext                   .bak; without path separators
 *   MaxDebugFile Append                0; kept for its readers
 *   MaxDebugFile Msg                   0; kept for its readers
 *
 * The constructor and UpdateSettings store the defaults above where a value that they look for is
 * missing: that of MaxDebugFile Append always, the others while limits are enabled, and none for
 * the first three. A value that is there but cannot be read, for want of a right or of memory,
 * keeps what was in force, at the construction the default; nothing is stored over it. A count or
 * an extension beyond its range means the simple roll. A log that
 * LogFileFactory::CreateDebugLog has made follows all but Ext and Msg while it runs; these, and in
 * any other log all of them, are read by the constructor and by UpdateSettings.
 *
 * Limits. Before a line is written the size of the file so far is looked at:
 *   rename  at maximum / count the file becomes rotated file `count` (trace.log.bak3); the others
 *           move down by one and number 1, the oldest, is deleted. The first time, files above
 *           `count` that an earlier, larger count has left are moved down and deleted as well.
 *   wrap    at the maximum the file's newest lines, up to the retention size, move to its front,
 *           behind the line "<<< This file has wrapped >>>". A program that ends in the middle
 *           leaves a file with all of those lines, some of them twice.
 *   simple  at 20 MB the log goes on in base name, "-", number, extension; numbers begin with 2 for
 *           each object, and an older file of that name is emptied.
 *
 * Failure: an operation returns 0 and keeps a code, which GetErrorCode reports until the next
 * failure. Nothing is thrown, except std::bad_alloc by the constructor, GetFileName and
 * GetSettings. A line goes into the file whole or not at all: what a full disk took of it is cut
 * off again, at the latest before the next line. When the files cannot be moved (another program
 * holds one) the log goes on in the file that it has, above its limit, and tries again after each
 * further eighth of it. When after that not even that file can be opened, or not when the log is
 * switched on, every line tries to open it, or makes it, and is lost and counted when it cannot.
 * Each first failure is told to the debugger output.
 *
 * Formats are those of Microsoft's C run time for wide text, as in LogFile. Each line feed becomes
 * carriage return and line feed. A text of more than 32,767 characters is replaced by its format as
 * it stands, or by nothing if the format itself is longer.
 *
 * Memory: short lines are put together on the caller's stack; longer ones in buffers of the log,
 * which grow and are kept. Printing allocates nothing once they fit.
 *
 * Threads: any number may use one log at the same time; each text is written in one piece. A thread
 * that is writing, rolling or reading settings makes the others wait; IsOpen, GetLogLevel,
 * GetErrorCode and printing into a closed log never wait. Nor does the settings monitor wait for a
 * thread that is writing: that thread takes in what has changed meanwhile, before its call returns.
 * Where nobody is at the log, the monitor's thread opens or closes the file itself.
 *
 * Contract: a char* that follows the format or the number at once is taken for a va_list, and the
 * print fails with an exception code. Cast it to const char*.
 */
class DebugLog : public vtclass::border::LibraryMemory {
 public:
  enum openMode {
    createAlways = 0, /* a new file; an old one is emptied */
    openAppend = 1,   /* an existing file, at its end */
    createNew = 2     /* a new file; fails (ERROR_FILE_EXISTS) when there is one */
  };

  /*
   * A closed log; no file is touched. `messages` supplies the texts of message numbers; the log
   * shares it. `unicode`: nonzero for UTF-16, 0 for the ANSI code page. `pathValueName`: the value
   * of the logging key under which UpdateSettings finds and remembers the log's path; null or empty
   * for none. Reads the settings; of those that cannot be read GetErrorCode tells the first one's
   * status. Throws std::bad_alloc.
   */
  DebugLog(StringResourceMgr& messages, int unicode, const wchar_t* pathValueName);

  /*
   * Stops following the settings, waiting for a callback of the monitor in hand, then closes the
   * log. A subscriber of the monitor may do this from its callback. The monitor may be gone
   * already; none is made. Requires: no other thread uses the log, or is inside
   * SettingsMonitor::DestroyInstance; the caller holds no lock for which a callback of the monitor
   * waits.
   */
  VTCLASS_API ~DebugLog();

  DebugLog(const DebugLog&) = delete;
  DebugLog& operator=(const DebugLog&) = delete;

  /*
   * Opens `fileName`; a new UTF-16 file begins with its byte-order mark. An open log is closed
   * first, whatever follows. Others may read the file while it is open, not write it. Half a
   * character at the end of a UTF-16 file, which would shift all lines to come, is cut off. A name
   * without drive or folder is completed now: the log stays where it is when the current folder
   * changes. Returns nonzero; 0 with the code stored (ERROR_INVALID_PARAMETER for another mode),
   * the log then closed.
   *
   * Contract: appending to an empty file writes no mark. Callers make such files beforehand and
   * write the mark themselves.
   * Contract: the first name that was ever opened gives the simple roll its base name, also after
   * another file was opened. Components keep one family of names however often they reopen.
   */
  VTCLASS_API int Open(openMode mode, const wchar_t* fileName);

  /* Closes the file. 1, also when it is closed already; 0 with the code stored when the system
   * reports a failure. The log is closed in any case. */
  VTCLASS_API int Close();

  /*
   * Whether lines are wanted: the log has been opened or switched on, and since then neither closed
   * nor switched off. False: each print returns 0 at once, without formatting. True also while the
   * file of a log that is switched on cannot be opened: its lines try, and count as lost when it
   * fails (GetLostLines). For what costs something before it is printed:
   *
   *   if (log->IsOpen()) log->print(L"%s\n", Describe(job).c_str());
   *
   * Another thread or a setting may change the answer at any time. Never waits.
   */
  VTCLASS_API bool IsOpen() const;

  /*
   * Formats and writes. A line is ended by a line feed of the format; none is added. 1 when the
   * text is in the file, or is empty; 0 when the log is closed, or with the code stored: a system
   * code of the write, ERROR_INVALID_PARAMETER for a null format, ERROR_NOT_ENOUGH_MEMORY, or an
   * exception code (0xC0000005 ...) when a bad argument such as a wild %s pointer ended the
   * formatting; the log is intact then and the next print works.
   */
  VTCLASS_API int print(const wchar_t* format, ...);
  VTCLASS_API int print(const wchar_t* format, va_list arguments);
  template <typename First, typename... Rest>
    requires vtclass::isNoArgumentList<First>
  int print(const wchar_t* format, First first, Rest... rest) {
    return PrintArguments(format, first, rest...);
  }

  /* The same with the text of message `id` as the format, and a line feed behind it, written
   * together. A number without a text prints the line feed alone. */
  VTCLASS_API int print(unsigned int id, ...);
  VTCLASS_API int print(unsigned int id, va_list arguments);
  template <typename First, typename... Rest>
    requires vtclass::isNoArgumentList<First>
  int print(unsigned int id, First first, Rest... rest) {
    return PrintArguments(id, first, rest...);
  }

  /* How much the component is to trace: 1, or for a log that follows the settings the value
   * "Engine NDMP Debug Level". The log itself does not look at it: callers ask before they print.
   */
  VTCLASS_API unsigned long GetLogLevel() const;

  /* The full path of the file that the log last opened: after a simple roll that of the further
   * file. Empty before, or the path given to CreateDebugLog, or stored, that is to be opened. */
  VTCLASS_CLIENT wcstring GetFileName() const;

  /* The code of the last failure on whatever thread, 0 when there was none. A success does not
   * clear it. */
  VTCLASS_API unsigned long GetErrorCode() const;

  /* How many texts could not be written since the log was made, although it was to be open. */
  VTCLASS_API unsigned long long GetLostLines() const;

  VTCLASS_CLIENT DebugLogSettings GetSettings() const;

  /*
   * Reads the settings anew. When "CreateDebugLog" is not 0 the file is closed and opened again for
   * appending: the path stored under the log's value or, if there is none or it cannot be opened,
   * the log's own file, which is made if missing and whose path is then stored. A stored path
   * without drive or folder is completed when it is first read: the log stays there when the
   * current folder changes. A line
   * "<<<<<<<<<<<< LOGGING ON >>>>>>>>>>>>>>>>>>>" follows. When it is 0 an open log gets the line
   * "<<<<<<<<<<<< LOGGING OFF >>>>>>>>>>>>>>>>>>>" and is closed. Lines of other threads wait
   * meanwhile. A switch that cannot be read leaves the log open or closed as it is, a path that
   * cannot be read with the log's own file, and stored. Nonzero on success; 0 with the code stored
   * when something could not be read, or the file not be opened: a log that is on then tries at
   * each line to open its file, one without any name is closed (ERROR_NOT_ENOUGH_MEMORY may leave
   * it open, with its former settings).
   */
  VTCLASS_API int UpdateSettings();

 private:
  friend class LogFileFactory;
  struct State;

  /* Without memory `state` is null. */
  VTCLASS_API DebugLog(const std::nothrow_t&, StringResourceMgr& messages, int unicode,
                       const wchar_t* pathValueName) noexcept;
  VTCLASS_API void CopyFileName(const vtclass::border::WideSink& out,
                                vtclass::border::Failure& failure) const noexcept;
  /* All but the extension goes into `out`. */
  VTCLASS_API void CopySettings(DebugLogSettings& out, const vtclass::border::WideSink& extension,
                                vtclass::border::Failure& failure) const noexcept;

  VTCLASS_API int PrintArguments(const wchar_t* format, ...);
  VTCLASS_API int PrintArguments(unsigned int id, ...);

  State* state;
};

/* Compiled into the callers: texts are filled, and exceptions thrown, on their side
 * (vtclass/export.h). */
inline DebugLog::DebugLog(StringResourceMgr& messages, int unicode, const wchar_t* pathValueName)
    : DebugLog(std::nothrow, messages, unicode, pathValueName) {
  vtclass::border::NotNull(state);
}

#if !defined(VTCLASS_MINI_BUILD)

inline wcstring DebugLog::GetFileName() const {
  wcstring name;
  vtclass::border::Failure failure;
  CopyFileName(name, failure);
  failure.Throw();
  return name;
}

inline DebugLogSettings DebugLog::GetSettings() const {
  DebugLogSettings settings;
  vtclass::border::Failure failure;
  CopySettings(settings, settings.extension, failure);
  failure.Throw();
  return settings;
}

#endif

#endif
