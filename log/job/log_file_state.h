#ifndef VTCLASS_LOG_JOB_LOG_FILE_STATE_H
#define VTCLASS_LOG_JOB_LOG_FILE_STATE_H

#include <vtclass/win32.h>

#include <cstdarg>
#include <cstddef>

#include "log/file_bytes.h"
#include "log/work_buffer.h"
#include "platform/owned.h"
#include "vtclass/log.h"

/* What a job log consists of. Every text goes out by the log's WriteText, which a derived class may
 * have overridden. Nothing is thrown but by the constructor. */
struct LogFile::State {
  using Characters = vtclass::log::WorkBuffer<wchar_t>;
  static constexpr int kBuffers = 33;

  State(LogFile& self, StringResourceMgr& messages, int unicode, int maxMB, int keepMB);

  int Open(int openMode, const wchar_t* filePath);
  int Close();
  int WriteText();

  /* What prints are made of; the parameters and results are those of the prints. */
  int PrintFormatted(int buffer, const wchar_t* format, va_list arguments);
  int PrintMessage(int buffer, unsigned id, const wchar_t* end, va_list arguments);
  int PrintRaw(int buffer, const wchar_t* format, ...);
  int PrintTag(int buffer, const wchar_t* tag);
  int PrintClosingTag(int buffer, const wchar_t* tag);
  int PrintEntryBody(int buffer, const wchar_t* tag, const wchar_t* format, va_list arguments);
  int PrintIdentifiedTag(int buffer, long umi, const wchar_t* tag);
  int PrintDirectory(int buffer, const wchar_t* tag, unsigned id, const wchar_t* directory);

  static bool IsSlot(int n) { return n >= 0 && n < kBuffers; }
  int Refuse(unsigned long code);

  int escape = 1;
  StringResourceMgr messages;
  wcstring path;
  vtclass::platform::OwnedFile file;
  Characters formatBuffer;
  Characters outputBuffer;
  std::size_t pendingLength = 0;
  vtclass::log::WorkBuffer<char> narrowBuffer;
  unsigned long lastError = ERROR_SUCCESS;
  const int unicode;
  int wrapEnabled;
  const unsigned long maximumSize;
  const unsigned long keptSize;
  wcstring directoryTag;
  int bufferedMode = 0;
  CWcharBuffer* buffers[kBuffers] = {};
  int depths[kBuffers] = {};

  /* What the members above leave unsaid: the log, the depth of index -1, where the pending text
   * lies (the output buffer, or FlushWrite's), the file's size (asking costs more than a write),
   * whether a part of a text that could not be cut off is behind it or the file's position is not
   * its end, whether this object owes the file a "</joblog>", and a text that prints put together
   * and reuse. */
  LogFile& self;
  int fileDepth = 0;
  const wchar_t* pendingText;
  vtclass::log::Position fileSize = 0;
  bool torn = false;
  bool headerWritten = false;
  wcstring scratch;

 private:
  int FormatAndDeliver(int buffer, const wchar_t* format, va_list arguments, Characters& oversized);
  Characters* MakeFormatRoom(std::size_t capacity, const wchar_t* format, Characters& oversized);
  bool FillOutput(vtclass::WideView text, std::size_t step);
  void ShrinkOutput();
  int Deliver(int buffer);

  bool WriteHeader(bool newFile);
  bool WriteBytes(const void* bytes, std::size_t size);
  void WrapIfTooLarge();

  int& Depth(int buffer);
  int CloseDirectories(int buffer);
};

#endif
