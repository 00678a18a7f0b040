#include "vtclass/debug_log.h"

#include <new>
#include <utility>

#include "log/debug/debug_log_state.h"
#include "log/debug/log_names.h"
#include "log/file_opening.h"
#include "platform/border.h"
#include "platform/no_throw.h"

using namespace vtclass::log;
using vtclass::border::Failure;
using vtclass::border::WideSink;
using vtclass::platform::HandOver;
using vtclass::platform::KeepFailure;
using vtclass::platform::MadeOrNull;
using vtclass::platform::OwnedFile;
using vtclass::platform::ScopedLock;
using vtclass::platform::StatusOf;

DebugLog::State::State(StringResourceMgr& messages, int unicode, const wchar_t* pathValueName)
    : messages(messages),
      unicode(unicode),
      ansiBuffer(unicode ? 0 : kFirstCapacity),
      pathValueName(pathValueName ? pathValueName : L"") {
  const ScopedLock hold(lock);
  LoadSettings(true, nullptr);
}

int DebugLog::State::Refuse(unsigned long code) {
  lastError = code;
  return 0;
}

// The first path gives the simple roll its base name. What a policy has begun belongs to its path.
void DebugLog::State::SetPath(wcstring&& path) {
  if (baseName.empty()) {
    SplitName split = SplitAtExtension(path);
    baseName = split.base;
    extension = split.extension;
  }
  if (path != fileName) sizeLimit = MakePolicy(limits);
  fileName = std::move(path);
}

int DebugLog::State::OpenAt(int mode, const wchar_t* path) {
  wcstring name;
  if (const DWORD failure = StatusOf([&] { name = FullName(path); })) return Refuse(failure);
  OwnedFile opened;
  Position size = 0;
  if (const DWORD failure = OpenTrace(mode, name.c_str(), unicode != 0, &opened, &size)) {
    return Refuse(failure);
  }
  // The analysis does not see through the call that the lock is held here.
  const auto set = [&]() VTCLASS_THREAD_ANNOTATION(no_thread_safety_analysis) {
    SetPath(std::move(name));
  };
  if (const DWORD failure = StatusOf(set)) return Refuse(failure);
  file = std::move(opened);
  fileSize = size;
  announced = true;
  untilRetry = 0;
  return 1;
}

// Prints of other threads look at isOpen before they wait for the lock: it changes once, at the
// end, so that a line printed while a file is reopened is not taken for one after its closing.
int DebugLog::State::Open(int mode, const wchar_t* path) {
  CloseFile();
  const int result = OpenAt(mode, path);
  isOpen = result != 0;
  return result;
}

int DebugLog::State::Close() {
  isOpen = false;
  return CloseFile();
}

int DebugLog::State::CloseFile() {
  if (!file) return 1;
  CutTornText(file.Get(), fileSize, &torn);
  torn = false;
  return ::CloseHandle(file.Release()) ? 1 : Refuse(::GetLastError());
}

DebugLog::DebugLog(const std::nothrow_t&, StringResourceMgr& messages, int unicode,
                   const wchar_t* pathValueName) noexcept
    : state(MadeOrNull([&] { return new State(messages, unicode, pathValueName); })) {}

DebugLog::~DebugLog() {
  if (!state) return;
  // Before anything of the log goes away; after it no callback runs. The lock is not asked for: a
  // thread that was ended while it held it would keep the log from ever going away.
  state->Unsubscribe();
  state->Close();
  delete state;
}

int DebugLog::Open(openMode mode, const wchar_t* fileName) {
  const State::Hold hold(*state);
  return state->Open(mode, fileName);
}

int DebugLog::Close() {
  const State::Hold hold(*state);
  return state->Close();
}

int DebugLog::print(const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = state->Print(format, arguments, false);
  va_end(arguments);
  return result;
}

int DebugLog::print(const wchar_t* format, va_list arguments) {
  return state->Print(format, arguments, false);
}

int DebugLog::PrintArguments(const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = state->Print(format, arguments, false);
  va_end(arguments);
  return result;
}

int DebugLog::print(unsigned int id, ...) {
  va_list arguments;
  va_start(arguments, id);
  const int result = state->PrintMessage(id, arguments);
  va_end(arguments);
  return result;
}

int DebugLog::print(unsigned int id, va_list arguments) {
  return state->PrintMessage(id, arguments);
}

int DebugLog::PrintArguments(unsigned int id, ...) {
  va_list arguments;
  va_start(arguments, id);
  const int result = state->PrintMessage(id, arguments);
  va_end(arguments);
  return result;
}

bool DebugLog::IsOpen() const { return state->isOpen; }

unsigned long DebugLog::GetLogLevel() const { return state->logLevel; }

wcstring DebugLog::GetFileName() const {
  const State::Hold hold(*state);
  return state->fileName;
}

void DebugLog::CopyFileName(const WideSink& out, Failure& failure) const noexcept {
  KeepFailure(failure, [&] { HandOver(out, GetFileName()); });
}

unsigned long DebugLog::GetErrorCode() const { return state->lastError; }

unsigned long long DebugLog::GetLostLines() const {
  const State::Hold hold(*state);
  return state->lostLines;
}

DebugLogSettings DebugLog::GetSettings() const {
  const State::Hold hold(*state);
  return state->settings;
}

void DebugLog::CopySettings(DebugLogSettings& out, const WideSink& extension,
                            Failure& failure) const noexcept {
  KeepFailure(failure, [&] {
    const DebugLogSettings settings = GetSettings();
    HandOver(extension, settings.extension);
    // Member by member: an assignment of the whole would put this side's memory into the text.
    out.mode = settings.mode;
    out.maximumSize = settings.maximumSize;
    out.retentionSize = settings.retentionSize;
    out.count = settings.count;
    out.refused = settings.refused;
    out.createDebugLog = settings.createDebugLog;
    out.append = settings.append;
    out.message = settings.message;
  });
}

int DebugLog::UpdateSettings() {
  const State::Hold hold(*state);
  int result = 0;
  const auto follow = [&]() VTCLASS_THREAD_ANNOTATION(no_thread_safety_analysis) {
    result = state->Follow();
  };
  if (const DWORD failure = StatusOf(follow)) return state->Refuse(failure);
  return result;
}
