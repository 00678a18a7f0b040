#include "platform/border.h"

#include "net/name_forms.h"
#include "platform/no_throw.h"
#include "vtclass/net.h"

// The exported functions behind those that fill a text of the caller's or throw. Each asks the
// function of its name for a text of this side's, and hands that over.
namespace vtclass::border {

namespace {

// The answer of `ask(text)`, a status, and the text where it is 0.
template <typename Ask>
unsigned long TextOrStatus(const WideSink& out, Ask ask) noexcept {
  return platform::StatusOf<VTSocket::VTSocketError>([&] {
    wcstring text;
    const unsigned long status = ask(text);
    if (status == ERROR_SUCCESS) platform::HandOver(out, text);
    return status;
  });
}

// The answer of `ask(text)`, not 0 for success, and the text, which is empty otherwise.
template <typename Ask>
int TextOrNothing(const WideSink& out, Ask ask) noexcept {
  out.Resize(0);
  wcstring text;
  if (!ask(text)) return 0;
  if (out.Assign(text)) return 1;
  ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return 0;
}

}  // namespace

unsigned long VTGetFQDN(const WideSink& out) noexcept {
  return TextOrStatus(out, [](wcstring& text) { return vtclass::VTGetFQDN(text); });
}

unsigned long VTConvertServerNamePlus(const wcstring& in, const WideSink& out,
                                      _COMPUTER_NAME_FORMAT format, bool clusterAware,
                                      bool* isLocal, unsigned long* status) noexcept {
  wcstring text;
  const unsigned long result =
      vtclass::VTConvertServerNamePlus(in, text, format, clusterAware, isLocal, status);
  if (out.Assign(text)) return result;
  constexpr unsigned long kNothingDone = 4;
  out.Resize(0);
  *isLocal = false;
  *status = kNothingDone;
  return ERROR_NOT_ENOUGH_MEMORY;
}

void GetAnyIpAddress(const wcstring& name, const WideSink& out) noexcept {
  out.Assign(vtclass::GetAnyIpAddress(name));
}

unsigned long IsIpAddrLocal(const wchar_t* text, bool& isLocal) noexcept {
  try {
    isLocal = vtclass::IsIpAddrLocal(text);
    return ERROR_SUCCESS;
  } catch (int status) {
    return static_cast<unsigned long>(status);
  }
}

int GetComputerNameInString(const WideSink& out) noexcept {
  return TextOrNothing(out, [](wcstring& text) { return vtclass::GetComputerNameInString(text); });
}

int GetComputerNodeName(const WideSink& out) noexcept {
  return TextOrNothing(out, [](wcstring& text) { return vtclass::GetComputerNodeName(text); });
}

bool SplitUncPath(const wcstring& path, UncPath& parts) noexcept {
  net::UncParts found;
  if (!net::SplitUnc(path, found)) return false;
  parts.serverLength = found.server.size();
  parts.shareStart = static_cast<std::size_t>(found.share.data() - path.data());
  parts.shareLength = found.share.size();
  return true;
}

}  // namespace vtclass::border
