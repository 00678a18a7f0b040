#ifndef VTCLASS_LOG_H
#define VTCLASS_LOG_H

#include <vtclass/win32.h>

#include <cstdarg>

#include "vtclass/export.h"
#include "vtclass/log_tags.h"
#include "vtclass/strings.h"

/* Message texts by number from the string tables of a module. */
class VTCLASS_API StringResourceMgr {
 public:
  StringResourceMgr();
  explicit StringResourceMgr(HINSTANCE module);
  explicit StringResourceMgr(const wchar_t* library);
  StringResourceMgr(const StringResourceMgr& other);
  StringResourceMgr& operator=(const StringResourceMgr& other);
  ~StringResourceMgr();

  wcstring Get(unsigned id) const;
  unsigned long GetErrorCode() const;

 private:
  class State;
  State* state;
};

/* Finds and loads the product's message library. */
class VTCLASS_API ErrorMessageBase {
 public:
  ErrorMessageBase() = delete;

  static void set_ModuleInstance(HINSTANCE module);
  static bool BaseInit();
  static StringResourceMgr GetMessages();
};

/* A growable text buffer: the job log's buffered sections. */
class VTCLASS_API CWcharBuffer {
 public:
  CWcharBuffer();
  ~CWcharBuffer();
  CWcharBuffer(const CWcharBuffer&) = delete;
  CWcharBuffer& operator=(const CWcharBuffer&) = delete;

  unsigned long long BufferCount() const;
  const wchar_t* ReadFromBuffer() const;
  bool IsBufferEmpty() const;
  int WriteToBufferAllPrintableChars(const wchar_t* text, unsigned long long length);
  int Write(const wchar_t* text, unsigned long long length);

 private:
  wchar_t* text;
  unsigned long long used;
  unsigned long long capacity;
};

/* Writes one job log. */
class VTCLASS_API LogFile {
 public:
  LogFile(StringResourceMgr& messages, int unicode, int maxMB, int keepMB);
  ~LogFile();
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  virtual int WriteText();

  int Open(int openMode, const wchar_t* path);
  int Close();
  const wchar_t* GetFileName() const;
  unsigned long GetErrorCode() const;

  int print(int buffer, const wchar_t* format, ...);
  int print(int buffer, const wchar_t* format, va_list arguments);
  int print(int buffer, unsigned id, ...);
  int print(int buffer, unsigned id, va_list arguments);
  int printerror(int buffer, const wchar_t* format, ...);
  int printerror(int buffer, unsigned id, ...);

  int printTMP(int buffer, const wchar_t* text);
  int printTMPNewLine(int buffer);
  int printTMP(int buffer, const wchar_t* tag, unsigned id, ...);
  int printTMP(int buffer, const wchar_t* tag, unsigned id, va_list arguments);
  int printTMP(int buffer, const wchar_t* tag, const wchar_t* format, ...);
  int printTMP(int buffer, const wchar_t* tag, const wchar_t* format, va_list arguments);
  int printerrorTMP(int buffer, const wchar_t* tag, unsigned id, ...);
  int printerrorTMP(int buffer, const wchar_t* tag, const wchar_t* format, ...);
  int printTagWithAttribute(int buffer, const wchar_t* tag, const wchar_t* value);
  int printTMPDataWithoutXMLTags(int buffer, const wchar_t* format, const wchar_t* argument);
  int printclosingtag(int buffer, const wchar_t* tag);
  int printerrorUMI(int buffer, long umi, const wchar_t* tag, unsigned id, ...);
  int printerrorUMI(int buffer, long umi, const wchar_t* tag, const wchar_t* format, ...);
  int printerrorUMIDisableConvertXML(int buffer, long umi, const wchar_t* tag, unsigned id, ...);
  int printTMPdir(int buffer, const wchar_t* tag, unsigned id, const wchar_t* path);

  void EnterBufferedMode();
  void LeaveBufferdMode();
  int AllocateBuffer(int n);
  int DeAllocateBuffer(int n);
  int FlushBufferToFile(int n);
  int FlushBufferToFileAndDeAllocate(int n);
  int FlushWrite(wchar_t* text, int count);
};

/* Makes job logs with one source of messages. */
class VTCLASS_API LogFileFactory {
 public:
  LogFileFactory(const StringResourceMgr& messages, int debugLogMode);

  LogFile* Create(const wchar_t* path);

 private:
  StringResourceMgr messages;
  unsigned short unicode;
  int debugLogMode;
};

#endif
