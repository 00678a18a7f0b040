#include <algorithm>
#include <new>
#include <utility>

#include "log/ansi_text.h"
#include "log/buffer_growth.h"
#include "log/file_bytes.h"
#include "log/file_opening.h"
#include "log/log_file_guard.h"
#include "platform/owned.h"
#include "vtclass/log.h"

using namespace vtclass::log;
using vtclass::platform::OwnedFile;

namespace {

constexpr wchar_t kRootTag[] = L"<joblog>";
constexpr wchar_t kVersion[] = L"2.0";
constexpr int kToFile = -1;
constexpr int kNoLimit = -1;

// The shift has always been made in 32 bits: 4096 MB and its multiples count as 0.
unsigned long BytesOfMegabytes(int megabytes) {
  return static_cast<unsigned long>(megabytes) << 20;
}

}  // namespace

LogFile::LogFile(const std::nothrow_t&, StringResourceMgr& messages, int unicode, int maxMB,
                 int keepMB) noexcept
    : messages(messages),
      file(INVALID_HANDLE_VALUE),
      formatBuffer(new(std::nothrow) wchar_t[kFirstCapacity]),
      formatCapacity(kFirstCapacity),
      outputBuffer(new(std::nothrow) wchar_t[kFirstCapacity]),
      outputCapacity(kFirstCapacity),
      narrowBuffer(unicode ? nullptr : new(std::nothrow) char[kFirstCapacity]),
      narrowSize(unicode ? 0 : kFirstCapacity),
      unicode(unicode ? 1 : 0),
      wrapEnabled(maxMB != kNoLimit && keepMB != kNoLimit ? 1 : 0),
      maximumSize(wrapEnabled ? BytesOfMegabytes(maxMB) : 0),
      keptSize(wrapEnabled ? BytesOfMegabytes(keepMB) : 0),
      pendingText(outputBuffer.get()) {}

LogFile::~LogFile() { Close(); }

int LogFile::Open(int openMode, const wchar_t* filePath) {
  Close();
  wcstring name;
  if (!FindsMemory([&] { name = wcstring(filePath); }, &lastError)) return 0;
  OwnedFile opened;
  if (const DWORD failure = OpenFile(openMode, name.c_str(), unicode != 0, &opened, &fileSize)) {
    return Refuse(failure);
  }
  file = opened.Release();
  torn = false;
  // The handle of an empty file is kept: callers go on printing into it, without a header.
  if (openMode == kAppend && fileSize == 0) return Refuse(ERROR_HANDLE_EOF);
  path.swap(name);
  const Position before = fileSize;
  if (WriteHeader(openMode != kAppend)) return 1;
  // What could not get its header is no log: it is closed, and the file is as it was.
  if (before < fileSize || torn) CutAt(file, std::min(before, fileSize));
  const OwnedFile closing(std::exchange(file, INVALID_HANDLE_VALUE));
  return 0;
}

bool LogFile::WriteHeader(bool newFile) {
  if (newFile && unicode) {
    if (const DWORD failure = AppendByteOrderMark(file, &fileSize, &torn)) return Refuse(failure);
  }
  headerWritten = PrintRaw(kToFile, L"%s",
                           unicode ? L"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n"
                                   : L"<?xml version=\"1.0\" encoding=\"windows-1252\"?>\n") &&
                  PrintRaw(kToFile, L"%s", kRootTag) &&
                  printTagWithAttribute(kToFile, kTagJobLogVersion, kVersion);
  return headerWritten;
}

int LogFile::Close() {
  if (file == INVALID_HANDLE_VALUE) return 1;
  int result = 1;
  if (std::exchange(headerWritten, false)) result = printclosingtag(kToFile, kRootTag);
  if (!::CloseHandle(std::exchange(file, INVALID_HANDLE_VALUE))) return Refuse(::GetLastError());
  return result;
}

const wchar_t* LogFile::GetFileName() const {
  const std::size_t separator = path.rfind(L'\\');
  return separator == wcstring::npos ? path.c_str() : path.c_str() + separator + 1;
}

unsigned long LogFile::GetErrorCode() const { return lastError; }

int LogFile::Refuse(unsigned long code) {
  lastError = code;
  return 0;
}

int LogFile::WriteText() {
  if (unicode) {
    if (!WriteBytes(pendingText, pendingLength * sizeof(wchar_t))) return 0;
  } else {
    std::size_t bytes = 0;
    const DWORD failure = ConvertToAnsi({pendingText, pendingLength}, narrowBuffer, narrowSize,
                                        &bytes, AnsiText::markup);
    if (failure != ERROR_SUCCESS) return Refuse(failure);
    if (bytes == 0) return 1;
    if (!WriteBytes(narrowBuffer.get(), bytes)) return 0;
  }
  WrapIfTooLarge();
  return 1;
}

bool LogFile::WriteBytes(const void* bytes, std::size_t size) {
  if (file == INVALID_HANDLE_VALUE) return Refuse(ERROR_INVALID_HANDLE);
  const DWORD failure = AppendWhole(file, bytes, size, &fileSize, &torn);
  return failure == ERROR_SUCCESS || Refuse(failure);
}
