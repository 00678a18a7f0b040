#ifndef VTCLASS_LOG_H
#define VTCLASS_LOG_H

#include <vtclass/win32.h>

#include <cstdarg>
#include <cstddef>
#include <memory>

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
  friend class ErrorMessageBase;
  friend class LogFile;

  explicit StringResourceMgr(State* state) noexcept;
  const std::wstring& Text(unsigned id) const;

  State* state;
};

/* Finds and loads the product's message library. */
class VTCLASS_API ErrorMessageBase {
 public:
  ErrorMessageBase() = delete;

  static void set_ModuleInstance(HINSTANCE module);
  static bool BaseInit();
  static StringResourceMgr GetMessages();

 private:
  static StringResourceMgr Load(HINSTANCE module);
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
  bool MakeRoom(unsigned long long length);

  wchar_t* text;
  unsigned long long used;
  unsigned long long capacity;
  unsigned long long allocated;

  friend class LogFile;
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

 protected:
  const wchar_t* PendingText() const;
  std::size_t PendingLength() const;
  std::size_t FormatCapacity() const;
  std::size_t OutputCapacity() const;

 private:
  using Characters = std::unique_ptr<wchar_t[]>;
  static constexpr int kBuffers = 33;

  int Refuse(unsigned long code);

  int PrintFormatted(int buffer, const wchar_t* format, va_list arguments);
  int PrintMessage(int buffer, unsigned id, const wchar_t* end, va_list arguments);
  int PrintRaw(int buffer, const wchar_t* format, ...);
  int PrintEntryBody(int buffer, const wchar_t* tag, const wchar_t* format, va_list arguments);
  int PrintIdentifiedTag(int buffer, long umi, const wchar_t* tag);

  int FormatAndDeliver(int buffer, const wchar_t* format, va_list arguments, Characters& oversized);
  wchar_t* MakeFormatRoom(std::size_t capacity, const wchar_t* format, Characters& oversized);
  bool FillOutput(const wchar_t* formatted, std::size_t length, std::size_t step);
  void ShrinkOutput();
  int Deliver(int buffer);

  bool WriteHeader(bool newFile);
  bool ConvertPending(std::size_t* bytes);
  bool WriteBytes(const void* bytes, std::size_t size);
  void CutFile(unsigned long long size);
  void WrapIfTooLarge();
  unsigned long MoveNewestToFront();

  static bool IsSlot(int n);
  int& Depth(int buffer);
  int CloseDirectories(int buffer);

  int escape;
  StringResourceMgr messages;
  wcstring path;
  HANDLE file;
  Characters formatBuffer;
  std::size_t formatCapacity;
  Characters outputBuffer;
  std::size_t outputCapacity;
  std::size_t pendingLength;
  std::unique_ptr<char[]> narrowBuffer;
  std::size_t narrowSize;
  unsigned long lastError;
  int unicode;
  int wrapEnabled;
  unsigned long maximumSize;
  unsigned long keptSize;
  wcstring directoryTag;
  int bufferedMode;
  CWcharBuffer* buffers[kBuffers];
  int depths[kBuffers];

  /* What the fields above leave unsaid: the depth of index -1, where the pending text lies (the
   * output buffer, or FlushWrite's), the file's size (asking costs more than a write), whether
   * this object owes the file a "</joblog>", and a text that prints put together and reuse. */
  int fileDepth;
  const wchar_t* pendingText;
  unsigned long long fileSize;
  bool headerWritten;
  wcstring scratch;
};

/* Makes job logs with one source of messages. */
class VTCLASS_API LogFileFactory {
 public:
  LogFileFactory(const StringResourceMgr& messages, int debugLogMode);

  LogFile* Create(const wchar_t* path);

 private:
  StringResourceMgr messages;
  unsigned short unicode;
  [[maybe_unused]] int debugLogMode;
};

#endif
