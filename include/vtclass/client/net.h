#ifndef VTCLASS_CLIENT_NET_H
#define VTCLASS_CLIENT_NET_H

/* What vtclass/net.h compiles into its callers: texts are filled, and exceptions thrown, on the
 * caller's side. Included by that header. */

namespace vtclass {

namespace border {

/* The functions of these names; results that stand for them are in the last parameter. */
VTCLASS_API unsigned long VTGetFQDN(const WideSink& out) noexcept;
VTCLASS_API unsigned long VTConvertServerNamePlus(const wcstring& in, const WideSink& out,
                                                  _COMPUTER_NAME_FORMAT format, bool clusterAware,
                                                  bool* isLocal, unsigned long* status) noexcept;
VTCLASS_API void GetAnyIpAddress(const wcstring& name, const WideSink& out) noexcept;
VTCLASS_API unsigned long IsIpAddrLocal(const wchar_t* text, bool& isLocal) noexcept;
VTCLASS_API int GetComputerNameInString(const WideSink& out) noexcept;
VTCLASS_API int GetComputerNodeName(const WideSink& out) noexcept;

/* Where the parts of a UNC path lie in it; counts of units, 0 and 0 for no UNC path. */
struct UncPath {
  std::size_t serverLength = 0; /* from the path's beginning */
  std::size_t shareStart = 0;
  std::size_t shareLength = 0;
};
VTCLASS_API bool SplitUncPath(const wcstring& path, UncPath& parts) noexcept;

VTCLASS_API unsigned long IsThisMeEx(const wcstring& name, bool* isMe, bool clusterAware,
                                     int timeoutMs, const StepSink& steps) noexcept;

}  // namespace border

inline unsigned long IsThisMeExWithSteps(const wcstring& name, bool* isMe, bool clusterAware,
                                         int timeoutMs, std::vector<Step>& steps) {
  constexpr unsigned long kNoMemory = 8;
  steps.clear();
  const border::StepSink sink(steps);
  const unsigned long status = border::IsThisMeEx(name, isMe, clusterAware, timeoutMs, sink);
  if (status == kNoMemory) steps.clear();
  return status;
}

inline int SplitUncPath(const wcstring& path, wcstring& server, wcstring& share) {
  border::UncPath parts;
  const bool isUnc = border::SplitUncPath(path, parts);
  wcstring serverPart(path.data(), parts.serverLength);
  wcstring sharePart(path.data() + parts.shareStart, parts.shareLength);
  server = std::move(serverPart);
  share = std::move(sharePart);
  return isUnc ? 1 : 0;
}

#if !defined(VTCLASS_MINI_BUILD)

inline unsigned long VTGetFQDN(wcstring& out) { return border::VTGetFQDN(out); }

inline unsigned long VTConvertServerNamePlus(const wcstring& in, wcstring& out,
                                             _COMPUTER_NAME_FORMAT format, bool clusterAware,
                                             bool* isLocal, unsigned long* status) {
  return border::VTConvertServerNamePlus(in, out, format, clusterAware, isLocal, status);
}

inline wcstring GetAnyIpAddress(const wcstring& name) {
  wcstring text;
  border::GetAnyIpAddress(name, text);
  return text;
}

inline bool IsIpAddrLocal(const wchar_t* text) {
  bool isLocal = false;
  const unsigned long status = border::IsIpAddrLocal(text, isLocal);
  if (status != 0) throw static_cast<int>(status);
  return isLocal;
}

inline int GetComputerNameInString(wcstring& out) { return border::GetComputerNameInString(out); }

inline int GetComputerNodeName(wcstring& out) { return border::GetComputerNodeName(out); }

#endif

}  // namespace vtclass

#endif
