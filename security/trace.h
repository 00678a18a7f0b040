#ifndef VTCLASS_SECURITY_TRACE_H
#define VTCLASS_SECURITY_TRACE_H

#include <vtclass/win32.h>

#include <vtstdutl/vtstdutl.h>

#include "platform/no_throw.h"

namespace vtclass::security {

/* A trace of the logon. `format` as VTTrace takes it. Keeps the thread's last error. */
template <typename... Arguments>
void Trace(const wchar_t* format, Arguments... arguments) noexcept {
  const DWORD lastError = ::GetLastError();
  // Nobody is kept from logging on by a library of traces that cannot be loaded.
  platform::StatusOf([&] { ::VTTrace(L"impersonator", 0, format, arguments...); });
  ::SetLastError(lastError);
}

}  // namespace vtclass::security

#endif
