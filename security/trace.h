#ifndef VTCLASS_SECURITY_TRACE_H
#define VTCLASS_SECURITY_TRACE_H

#include <vtclass/win32.h>

#include <vtstdutl/vtstdutl.h>

#include <exception>

namespace vtclass::security {

/* A trace of the logon. `format` as VTTrace takes it. Keeps the thread's last error. */
template <typename... Arguments>
void Trace(const wchar_t* format, Arguments... arguments) noexcept {
  const DWORD lastError = ::GetLastError();
  try {
    ::VTTrace(L"impersonator", 0, format, arguments...);
  } catch (const std::exception&) {
    // The library of the traces cannot be loaded. Nobody is kept from logging on by that.
  }
  ::SetLastError(lastError);
}

}  // namespace vtclass::security

#endif
