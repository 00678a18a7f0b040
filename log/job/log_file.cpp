#include <algorithm>
#include <utility>

#include "log/ansi_text.h"
#include "log/file_opening.h"
#include "log/job/log_file_state.h"
#include "platform/no_throw.h"

using namespace vtclass::log;
using vtclass::platform::MadeOrNull;
using vtclass::platform::OwnedFile;
using vtclass::platform::StatusOf;

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

LogFile::State::State(LogFile& self, StringResourceMgr& messages, int unicode, int maxMB,
                      int keepMB)
    : messages(messages),
      narrowBuffer(unicode ? 0 : kFirstCapacity),
      unicode(unicode ? 1 : 0),
      wrapEnabled(maxMB != kNoLimit && keepMB != kNoLimit ? 1 : 0),
      maximumSize(wrapEnabled ? BytesOfMegabytes(maxMB) : 0),
      keptSize(wrapEnabled ? BytesOfMegabytes(keepMB) : 0),
      self(self),
      pendingText(outputBuffer.Data()) {}

LogFile::LogFile(const std::nothrow_t&, StringResourceMgr& messages, int unicode, int maxMB,
                 int keepMB) noexcept
    : state(MadeOrNull([&] { return new State(*this, messages, unicode, maxMB, keepMB); })) {}

LogFile::~LogFile() {
  if (!state) return;
  state->Close();
  delete state;
}

int LogFile::Open(int openMode, const wchar_t* filePath) { return state->Open(openMode, filePath); }
int LogFile::Close() { return state->Close(); }
int LogFile::WriteText() { return state->WriteText(); }

int LogFile::State::Open(int openMode, const wchar_t* filePath) {
  Close();
  wcstring name;
  if (const DWORD failure = StatusOf([&] { name = wcstring(filePath); })) return Refuse(failure);
  OwnedFile opened;
  if (const DWORD failure = OpenFile(openMode, name.c_str(), unicode != 0, &opened, &fileSize)) {
    return Refuse(failure);
  }
  file = std::move(opened);
  torn = false;
  // The handle of an empty file is kept: callers go on printing into it, without a header.
  if (openMode == kAppend && fileSize == 0) return Refuse(ERROR_HANDLE_EOF);
  path.swap(name);
  const Position before = fileSize;
  if (WriteHeader(openMode != kAppend)) return 1;
  // What could not get its header is no log: it is closed, and the file is as it was.
  if (before < fileSize || torn) CutAt(file.Get(), std::min(before, fileSize));
  file.Reset();
  return 0;
}

bool LogFile::State::WriteHeader(bool newFile) {
  if (newFile && unicode) {
    const DWORD failure = AppendByteOrderMark(file.Get(), &fileSize, &torn);
    if (failure != ERROR_SUCCESS) return Refuse(failure);
  }
  headerWritten = PrintRaw(kToFile, L"%s",
                           unicode ? L"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n"
                                   : L"<?xml version=\"1.0\" encoding=\"windows-1252\"?>\n") &&
                  PrintTag(kToFile, kRootTag) && PrintRaw(kToFile, kTagJobLogVersion, kVersion);
  return headerWritten;
}

int LogFile::State::Close() {
  if (!file) return 1;
  int result = 1;
  if (std::exchange(headerWritten, false)) result = PrintClosingTag(kToFile, kRootTag);
  if (!::CloseHandle(file.Release())) return Refuse(::GetLastError());
  return result;
}

const wchar_t* LogFile::GetFileName() const {
  const wcstring& path = state->path;
  const std::size_t separator = path.rfind(L'\\');
  return separator == wcstring::npos ? path.c_str() : path.c_str() + separator + 1;
}

unsigned long LogFile::GetErrorCode() const { return state->lastError; }

int LogFile::State::Refuse(unsigned long code) {
  lastError = code;
  return 0;
}

int LogFile::State::WriteText() {
  if (unicode) {
    if (!WriteBytes(pendingText, pendingLength * sizeof(wchar_t))) return 0;
  } else {
    std::size_t bytes = 0;
    const DWORD failure =
        ConvertToAnsi({pendingText, pendingLength}, narrowBuffer, &bytes, AnsiText::markup);
    if (failure != ERROR_SUCCESS) return Refuse(failure);
    if (bytes == 0) return 1;
    if (!WriteBytes(narrowBuffer.Data(), bytes)) return 0;
  }
  WrapIfTooLarge();
  return 1;
}

bool LogFile::State::WriteBytes(const void* bytes, std::size_t size) {
  if (!file) return Refuse(ERROR_INVALID_HANDLE);
  const DWORD failure = AppendWhole(file.Get(), bytes, size, &fileSize, &torn);
  return failure == ERROR_SUCCESS || Refuse(failure);
}
