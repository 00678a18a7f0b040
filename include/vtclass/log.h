#ifndef VTCLASS_LOG_H
#define VTCLASS_LOG_H

#include <vtclass/win32.h>

#include <cstdarg>
#include <cstddef>
#include <type_traits>

#include "vtclass/border.h"
#include "vtclass/export.h"
#include "vtclass/log_tags.h"
#include "vtclass/strings.h"

/*
 * The job log: the XML record of one job that an operator reads, written to a file while the job
 * runs, and the message texts that fill it.
 */

namespace vtclass {

/* What could be converted to a va_list though it is an argument: a literal 0, nullptr. */
template <typename First>
inline constexpr bool isNoArgumentList = std::is_integral_v<First> || std::is_null_pointer_v<First>;

}  // namespace vtclass

/*
 * Message texts by number, from the string tables of one module. Each text is read once and kept;
 * copies share the module and the texts, and the last copy frees them.
 *
 * A number without a text, and every number of a library that could not be loaded, gives the empty
 * text: a lookup has no other failure. std::bad_alloc when memory runs out.
 *
 * Threads: any number may use one object or its copies at the same time, Get and copying included;
 * only assigning to an object that another thread uses is not allowed. No lock is held while a
 * resource is read.
 */
class StringResourceMgr {
 public:
  /* The texts of the process's executable. */
  StringResourceMgr();

  /* The texts of a loaded module; null is the executable. The module is not owned.
   * Requires: it stays loaded while this object or a copy is used. */
  explicit StringResourceMgr(HINSTANCE module);

  /* Loads `library` as a data file, which runs no code of it, and unloads it with the last copy.
   * When that fails (null and empty count as a missing file) GetErrorCode tells why. */
  explicit StringResourceMgr(const wchar_t* library);

  VTCLASS_API StringResourceMgr(const StringResourceMgr& other);
  VTCLASS_API StringResourceMgr& operator=(const StringResourceMgr& other);
  VTCLASS_API ~StringResourceMgr();

  /* A copy of the text, whole however long it is; it ends at its first zero. The language is the
   * one that the platform chooses for the thread that asks first. */
  wcstring Get(unsigned id) const;

  /* The Windows error that loading the library gave, 0 when it was loaded or there was none to
   * load. */
  VTCLASS_API unsigned long GetErrorCode() const;

 private:
  class State;
  friend class DebugLog;
  friend class ErrorMessageBase;
  friend class LogFile;

  VTCLASS_API static State* NewState(HINSTANCE module) noexcept;
  VTCLASS_API static State* NewState(const wchar_t* library) noexcept;
  VTCLASS_API void CopyText(unsigned id, const vtclass::border::WideSink& out,
                            vtclass::border::Failure& failure) const noexcept;

  explicit StringResourceMgr(State* state) noexcept : state(state) {}
  const std::wstring& Text(unsigned id) const;

  State* state;
};

/*
 * Finds and loads the product's message library: "vterrors.dll" in the folder of the registered
 * module or, when the value "Language" of the product root holds two letters such as DE,
 * "vterrors_DE.dll". Where that one is missing "vterrors.dll" serves.
 *
 * Threads: any.
 */
class ErrorMessageBase {
 public:
  ErrorMessageBase() = delete;

  /* Names the module in whose folder the library lies; null, the state at start, is the
   * executable. What was loaded for another module is given up, and the next BaseInit loads anew.
   * Managers that GetMessages handed out before keep their texts. */
  VTCLASS_API static void set_ModuleInstance(HINSTANCE module);

  /*
   * Loads the library once and tells whether there is one; later calls give the first answer.
   * A language with a known locale (EN, FR, ES, JP, DE, IT, ZH, CH, KO, RU, PT, in either case)
   * becomes the locale of the calling thread. False, and tried again next time, when memory runs
   * out.
   *
   * Contract: only the thread that loads gets the locale. Agents call BaseInit from their main
   * thread and format dates there.
   */
  VTCLASS_API static bool BaseInit();

  /* The loaded messages, to hand to LogFile; loads them like BaseInit where that has not happened.
   * Without a library every text is empty and GetErrorCode of the result tells why. */
  VTCLASS_CLIENT static StringResourceMgr GetMessages();

 private:
  VTCLASS_API static StringResourceMgr::State* MessagesOrNull() noexcept;

  static StringResourceMgr Load(HINSTANCE module);
};

/*
 * A growable text: the contents of one buffered section of a job log. Counts are in characters
 * (16-bit units). The text is zero-terminated after every operation, also a failed one.
 *
 * Threads: one at a time. The constructor throws std::bad_alloc; appending answers 0 instead and
 * leaves the text as it was.
 */
class CWcharBuffer {
 public:
  /* An empty text. */
  CWcharBuffer();
  VTCLASS_API ~CWcharBuffer();
  CWcharBuffer(const CWcharBuffer&) = delete;
  CWcharBuffer& operator=(const CWcharBuffer&) = delete;

  /* The characters appended so far. */
  VTCLASS_API unsigned long long BufferCount() const;

  /* The text, never null; valid until the next append. */
  VTCLASS_API const wchar_t* ReadFromBuffer() const;

  /* True when the text is empty, which it also is when its first character is zero. */
  VTCLASS_API bool IsBufferEmpty() const;

  /* Appends `length` characters as they are. Null or length 0 appends nothing and succeeds.
   * Returns 1, or 0 when memory runs out. `added` must not lie in this buffer. */
  VTCLASS_API int WriteToBufferAllPrintableChars(const wchar_t* added, unsigned long long length);

  /*
   * The same without the control characters U+0001, U+0003 to U+0009, U+000B, U+000C, U+000E and
   * U+001F.
   *
   * Contract: U+0002, line feed, carriage return and U+000F to U+001E pass. Agents mark places in
   * their sections with them; dropping them would take the marks away.
   */
  VTCLASS_API int Write(const wchar_t* added, unsigned long long length);

 private:
  friend class LogFile;

  /* Without memory `text` is null. */
  VTCLASS_API explicit CWcharBuffer(const std::nothrow_t&) noexcept;

  bool MakeRoom(unsigned long long length);

  wchar_t* text;
  unsigned long long used = 0;
  unsigned long long capacity;
  /* The characters there is memory for, at least `capacity`. */
  unsigned long long allocated;
};

/*
 * Writes one job log: an XML document in UTF-16 with a byte-order mark or in the system's ANSI code
 * page, begun by Open and ended by Close.
 *
 * Every print takes the index of a buffer first: -1 writes to the file, 0 to 32 into the buffer of
 * that number while buffered mode is on and the buffer exists, otherwise to the file too. Any other
 * index counts as -1.
 *
 * A print formats its text, replaces each line feed by carriage return and line feed and, unless it
 * is said to be raw, escapes & < > ' " and drops what no XML document can hold: the characters
 * below U+0020 but for tab, line feed and carriage return, a surrogate whose partner does not stand
 * beside it in the same text, U+FFFE and U+FFFF. It hands the result to WriteText or appends it to
 * the buffer. It returns nonzero on success. 0 means that the text was not written (of an entry,
 * that a part was not written); nothing is thrown. GetErrorCode then holds
 *
 * - ERROR_INVALID_HANDLE: the log is not open
 * - ERROR_INVALID_PARAMETER: a null tag, text or format; a text that no one write can take
 * - ERROR_NOT_ENOUGH_MEMORY: there was no memory to format, escape or buffer the text
 * - ERROR_INVALID_DATA: the C run time refuses the format or its arguments
 * - ERROR_DISK_FULL: the file took only a part of the text
 * - an exception code (0xC0000005 ...): a system exception, such as a bad %s pointer, ended the
 *   print; the log is intact and the next print works
 * - another Windows error: a system call failed
 *
 * A text goes into the file whole or not at all: what a full disk took of it is cut off again.
 *
 * Behind the XML declaration only line feeds of the texts break lines: entries stand one behind the
 * other. Who wants one entry a line prints `printTMP(-1, L"\n")` after each; readers skip blanks
 * between elements.
 *
 * A log that was opened once on a new file, whose prints all succeeded, and which was closed
 * without having been wrapped is a well-formed XML document whatever the texts and arguments were,
 * as long as the raw prints, which are the caller's own markup, put well-formed and balanced
 * elements together. An ANSI log is one where the system's code page is the windows-1252 that it
 * declares. A character that the page does not hold is there "?", never one that looks like it:
 * U+FF1C would become a bracket.
 *
 * Formats are those of Microsoft's C run time for wide text: %s is wide text, %S narrow text, a
 * null %s is "(null)", an exponent of %e has three digits; %n, which would write, is refused. A
 * formatted text ends at its first zero character. The first "<Utility Partition>" in a text loses
 * its brackets: it is the name of a volume and no markup.
 *
 * A tag is an opening element tag (log_tags.h). It is written raw and, unless said otherwise, is no
 * format.
 *
 * Memory: the working buffers begin with 256 characters, grow in steps of 128 and are kept;
 * printing allocates nothing once they fit. A text longer than 33,792 characters is formatted in a
 * buffer of its own that is freed afterwards, when the output buffer shrinks back to 256
 * characters.
 *
 * Threads: one at a time. The object has no lock and no thread of its own.
 *
 * Derived classes may override WriteText and nothing else. The destructor is not virtual: an object
 * is deleted through a pointer to its own class. While it runs, the overridden WriteText is out of
 * reach already and the closing tag would go to the file; a class that redirects its texts
 * therefore calls Close in its own destructor.
 *
 * Contract: a char* that follows the format or the number at once is taken for a va_list, and the
 * print fails with an exception code. Cast it to const char*. Agents that hand a va_list on rely on
 * this overload.
 */
class VTCLASS_API_TYPE LogFile : public vtclass::border::LibraryMemory {
  template <typename First>
  static constexpr bool isNoList = vtclass::isNoArgumentList<First>;

 public:
  /*
   * A closed log. `messages` supplies the texts of message numbers; the log shares it.
   * `unicode`: nonzero for UTF-16, 0 for the ANSI code page. When neither `maxMB` nor `keepMB` is
   * -1, a file that grows above `maxMB` megabytes is wrapped: cut to its newest `keepMB` megabytes.
   * Throws std::bad_alloc.
   *
   * Contract: an ANSI log says "windows-1252" in its header whatever the system's code page is.
   * Contract: megabytes become bytes in 32 bits, so 4096 counts as 0.
   */
  inline LogFile(StringResourceMgr& messages, int unicode, int maxMB, int keepMB);

  /*
   * Closes the log. Contract: buffers that still exist are not freed; who allocated one gives it
   * back with DeAllocateBuffer.
   */
  VTCLASS_API ~LogFile();

  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  /*
   * Writes the pending text (PendingText, PendingLength) to the end of the file and then, if the
   * file has become too large, wraps it. Called by every print and by FlushWrite; a derived class
   * overrides it to send the texts elsewhere, and must not print. Nonzero on success; 0 with the
   * error stored. The result tells of the text alone: a wrap that fails is stored as the error,
   * switches wrapping off for this object, and writing goes on at the end of the file.
   *
   * A wrapped ANSI log begins with "This file has wrapped." in place of its first, cut line; a
   * wrapped UTF-16 log begins without byte-order mark and without that text. Nothing is cut while
   * the file is no larger than the kept size.
   */
  VTCLASS_API virtual int WriteText();

  /*
   * Opens `filePath` and writes the document's header: the XML declaration, "<joblog>" and the
   * version, kTagJobLogVersion with "2.0", which callers do not write again. `openMode`: 0 creates
   * the file or empties an old one, 1 appends to an existing file, 2 creates and fails
   * (ERROR_FILE_EXISTS) when the file exists; any other value fails with ERROR_INVALID_PARAMETER.
   * Null and empty paths fail as the platform refuses them (ERROR_PATH_NOT_FOUND). An open log is
   * closed first, whatever follows. Others may read the file while it is open, not write it.
   * Returns 1; 0 with the error stored, the log then closed, and an old file, if it was to be
   * appended to, as it was; but half a character at the end of a UTF-16 file is cut off before
   * anything is appended.
   *
   * Contract: appending writes a header and "<joblog>" again. Each opening is a document of its
   * own, and readers split the file there.
   * Contract: appending to an empty file fails (ERROR_HANDLE_EOF) but leaves it open, without a
   * header; callers print plain text into it.
   */
  VTCLASS_API int Open(int openMode, const wchar_t* filePath);

  /* Writes "</joblog>", if this object wrote the header, and closes the file. Returns 1, also when
   * the log is closed already; 0 with the error stored when one of the two failed. The log
   * is closed in any case. Open directories and filled buffers are not written. */
  VTCLASS_API int Close();

  /* The last path that Open opened, from behind its last backslash; empty before. Valid until the
   * next Open. */
  VTCLASS_API const wchar_t* GetFileName() const;

  /* The code of the last failure, 0 when there was none. A success does not clear it. */
  VTCLASS_API unsigned long GetErrorCode() const;

  /* Prints a formatted text, escaped. printerror does the same. */
  VTCLASS_API int print(int buffer, const wchar_t* format, ...);
  VTCLASS_API int print(int buffer, const wchar_t* format, va_list arguments);
  VTCLASS_API int printerror(int buffer, const wchar_t* format, ...);
  template <typename First, typename... Rest>
    requires isNoList<First>
  int print(int buffer, const wchar_t* format, First first, Rest... rest) {
    return printerror(buffer, format, first, rest...);
  }

  /* Prints message `id`: its text without line feeds at the end is the format, and a line feed
   * follows. A number without a text prints the line feed alone. */
  VTCLASS_API int print(int buffer, unsigned id, ...);
  VTCLASS_API int print(int buffer, unsigned id, va_list arguments);
  VTCLASS_API int printerror(int buffer, unsigned id, ...);
  template <typename First, typename... Rest>
    requires isNoList<First>
  int print(int buffer, unsigned id, First first, Rest... rest) {
    return printerror(buffer, id, first, rest...);
  }

  /* Prints `text` raw; it is no format. */
  VTCLASS_API int printTMP(int buffer, const wchar_t* text);

  /* Contract: prints the empty text, so nothing reaches the file. Callers use it between entries;
   * a line break there would become text between the elements. */
  VTCLASS_API int printTMPNewLine(int buffer);

  /*
   * Prints an entry: the tag, message `id` as above but without a line feed, the closing tag. The
   * message is left out when the tag could not be written; the closing tag never is. Returns what
   * the closing tag returned.
   */
  VTCLASS_API int printTMP(int buffer, const wchar_t* tag, unsigned id, ...);
  VTCLASS_API int printTMP(int buffer, const wchar_t* tag, unsigned id, va_list arguments);
  VTCLASS_API int printerrorTMP(int buffer, const wchar_t* tag, unsigned id, ...);
  template <typename First, typename... Rest>
    requires isNoList<First>
  int printTMP(int buffer, const wchar_t* tag, unsigned id, First first, Rest... rest) {
    return printerrorTMP(buffer, tag, id, first, rest...);
  }

  /* The same with a format in place of the message.
   * Contract: with `...` the result is that of the text (0 when the tag failed), with a va_list
   * that of the closing tag. Callers test the one for "my text is in the log". */
  VTCLASS_API int printTMP(int buffer, const wchar_t* tag, const wchar_t* format, ...);
  VTCLASS_API int printTMP(int buffer, const wchar_t* tag, const wchar_t* format,
                           va_list arguments);
  VTCLASS_API int printerrorTMP(int buffer, const wchar_t* tag, const wchar_t* format, ...);
  template <typename First, typename... Rest>
    requires isNoList<First>
  int printTMP(int buffer, const wchar_t* tag, const wchar_t* format, First first, Rest... rest) {
    return printerrorTMP(buffer, tag, format, first, rest...);
  }

  /* Prints `tag`, raw, as a format with `value`. `value` is not escaped: it must be free of
   * & < and ". No closing tag. */
  VTCLASS_API int printTagWithAttribute(int buffer, const wchar_t* tag, const wchar_t* value);

  /* Prints a text formatted with one argument, escaped, without a tag. */
  VTCLASS_API int printTMPDataWithoutXMLTags(int buffer, const wchar_t* format,
                                             const wchar_t* argument);

  /* Prints the closing form of a tag: `<OperationErrors Type="x">` gives "</OperationErrors>".
   * A text without "<" prints nothing and returns 0, the error as it was. */
  VTCLASS_API int printclosingtag(int buffer, const wchar_t* tag);

  /*
   * Prints an entry with a unique message identifier: the tag, the identifier of the message code
   * `umi` and " - ", the message or formatted text, escaped, the closing tag. A code with bit 29
   * gives "<UMI>Q-79-57344-33928</UMI>" (upper and lower half of the code, here 0xE0008488), any
   * other code gives none. Returns nonzero when all of it was written.
   */
  VTCLASS_API int printerrorUMI(int buffer, long umi, const wchar_t* tag, unsigned id, ...);
  VTCLASS_API int printerrorUMI(int buffer, long umi, const wchar_t* tag, const wchar_t* format,
                                ...);

  /* The same with a message that is markup itself: it is printed raw. */
  VTCLASS_API int printerrorUMIDisableConvertXML(int buffer, long umi, const wchar_t* tag,
                                                 unsigned id, ...);

  /*
   * Prints the element of a directory inside those of its parents. The log remembers for each
   * buffer, and for the file, how many directory elements are open (D), and compares that with the
   * number of components of `directory` (N; "C:\\a" has 2, "\\\\server\\share" 1, an empty path 0):
   *   N = 0      closes all D
   *   N < D      closes D - N + 1, opens one; D = N
   *   N > D = 0  opens N; D = N
   *   N > D > 0  opens N - D + 1; D = N + 1
   *   N = D      closes one if D > 1; opens one
   * and prints, unless N is 0, message `id` with `directory` as its argument inside
   * <directory_name>. `tag` is the element; the one given while nothing is open is remembered and
   * serves where `tag` is null. Both null: all open elements are closed with the remembered tag.
   * Returns nonzero when everything was written (with both null, when anything was or nothing was
   * open); 0 when there is no tag at all. D changes in any case.
   *
   * Contract: the depth survives Close and Open. Close all directories before the log.
   */
  VTCLASS_API int printTMPdir(int buffer, const wchar_t* tag, unsigned id,
                              const wchar_t* directory);

  /* Prints with an existing buffer go into it from now on, or to the file again. The buffers keep
   * their texts. The second name is spelled as callers know it. */
  VTCLASS_API void EnterBufferedMode();
  VTCLASS_API void LeaveBufferdMode();

  /* Makes buffer `n`, 0 to 32. Returns 0; -1 when there is no such index, the buffer exists, or
   * memory runs out (then with the error stored). */
  VTCLASS_API int AllocateBuffer(int n);

  /* Frees buffer `n` with its text. Returns 0; -1 when there is none. */
  VTCLASS_API int DeAllocateBuffer(int n);

  /* Writes the text of buffer `n` to the file, as it stands; the buffer keeps it. Nonzero on
   * success; 0 when it fails or there is no buffer. */
  VTCLASS_API int FlushBufferToFile(int n);

  /* The same and then frees the buffer, also when writing failed. Contract: the result is inverted,
   * -1 when the text was written and 0 when not. Callers compare with -1. */
  VTCLASS_API int FlushBufferToFileAndDeAllocate(int n);

  /* Writes `count` characters of `text` through WriteText as they stand; the pending text is then
   * what it was. Nonzero on success; 0, ERROR_INVALID_PARAMETER, for a negative count or null. */
  VTCLASS_API int FlushWrite(wchar_t* text, int count);

 protected:
  /* For WriteText of derived classes: the text to be written, and its length in characters. Not
   * zero-terminated. */
  VTCLASS_API const wchar_t* PendingText() const;
  VTCLASS_API std::size_t PendingLength() const;

  /* The capacities of the working buffers, in characters. */
  VTCLASS_API std::size_t FormatCapacity() const;
  VTCLASS_API std::size_t OutputCapacity() const;

 private:
  struct State;

  /* Without memory `state` is null. */
  VTCLASS_API LogFile(const std::nothrow_t&, StringResourceMgr& messages, int unicode, int maxMB,
                      int keepMB) noexcept;

  State* state;
};

class DebugLog;

/*
 * Makes logs that share one source of messages: job logs in UTF-16 without a size limit, and debug
 * logs.
 *
 * Threads: any, as long as no two use one of the job logs.
 */
class LogFileFactory {
 public:
  /* `debugLogMode` is for the debug logs of this factory: nonzero for UTF-16, 0 for the ANSI code
   * page. Job logs do not depend on it. */
  VTCLASS_API LogFileFactory(const StringResourceMgr& messages, int debugLogMode);

  /*
   * Makes a log and opens it on a new file (mode 2 of LogFile::Open). The caller owns the log and
   * deletes it.
   * Contract: the log is returned also when it could not be opened (the path is empty, the file
   * exists): callers ask GetErrorCode of the log, and a null would end them.
   * Throws std::bad_alloc.
   */
  VTCLASS_CLIENT LogFile* Create(const wchar_t* path);

  /*
   * Makes a debug log (vtclass/debug_log.h) that follows the settings of the logging key while it
   * lives: switching, level and limits reach it within the time that the settings monitor needs,
   * and no line of another thread is lost or cut by that. The log is open when "CreateDebugLog"
   * says so and a file can be opened: the path stored under `pathValueName`, else `fileName`, which
   * is made if missing and stored there. Null or empty `pathValueName`: nothing is looked up or
   * stored. The caller owns the log and deletes it; from SettingsMonitor::DestroyInstance on it
   * follows nothing any more.
   *
   * Requires: where this is the process's first use of the settings monitor, no other thread makes
   * its first use meanwhile.
   * Contract: the log is returned also when it could not be opened: it may be switched on later.
   * Throws std::bad_alloc.
   */
  VTCLASS_CLIENT DebugLog* CreateDebugLog(const wchar_t* pathValueName, const wchar_t* fileName);

 private:
  VTCLASS_API LogFile* CreateOrNull(const wchar_t* path) noexcept;
  VTCLASS_API DebugLog* CreateDebugLogOrNull(const wchar_t* pathValueName,
                                             const wchar_t* fileName) noexcept;

  StringResourceMgr messages;
  unsigned short unicode;
  int debugLogMode;
};

#include "vtclass/client/log.h"

#endif
