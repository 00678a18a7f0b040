#ifndef VTCLASS_CLIENT_LOG_H
#define VTCLASS_CLIENT_LOG_H

/* What vtclass/log.h compiles into its callers: texts are filled, and exceptions thrown, on the
 * caller's side. Included by that header. */

inline StringResourceMgr::StringResourceMgr() : StringResourceMgr(HINSTANCE{nullptr}) {}

inline StringResourceMgr::StringResourceMgr(HINSTANCE module)
    : state(vtclass::border::NotNull(NewState(module))) {}

inline StringResourceMgr::StringResourceMgr(const wchar_t* library)
    : state(vtclass::border::NotNull(NewState(library))) {}

inline wcstring StringResourceMgr::Get(unsigned id) const {
  wcstring text;
  vtclass::border::Failure failure;
  CopyText(id, text, failure);
  failure.Throw();
  return text;
}

inline CWcharBuffer::CWcharBuffer() : CWcharBuffer(std::nothrow) { vtclass::border::NotNull(text); }

inline LogFile::LogFile(StringResourceMgr& messages, int unicode, int maxMB, int keepMB)
    : LogFile(std::nothrow, messages, unicode, maxMB, keepMB) {
  vtclass::border::NotNull(state);
}

#if !defined(VTCLASS_MINI_BUILD)

inline StringResourceMgr ErrorMessageBase::GetMessages() {
  return StringResourceMgr(vtclass::border::NotNull(MessagesOrNull()));
}

inline LogFile* LogFileFactory::Create(const wchar_t* path) {
  return vtclass::border::NotNull(CreateOrNull(path));
}

inline DebugLog* LogFileFactory::CreateDebugLog(const wchar_t* pathValueName,
                                                const wchar_t* fileName) {
  return vtclass::border::NotNull(CreateDebugLogOrNull(pathValueName, fileName));
}

#endif

#endif
