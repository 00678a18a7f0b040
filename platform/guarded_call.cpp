#include "platform/guarded_call.h"

#include <vtclass/win32.h>

#include <malloc.h>

namespace vtclass::platform {

namespace {

// C++ exceptions travel as structured exceptions of these codes (the first three under this
// toolchain, the last under Microsoft's). Stopping one in a structured handler would skip
// destructors or spin for ever, so the filter lets them pass.
bool IsCppException(DWORD code) {
  return code == 0x20474343 || code == 0x21474343 || code == 0x22474343 || code == 0xE06D7363;
}

// A C++ exception is caught here, inside the guarded work. Not inlined: a fault of an instruction
// that stands directly in the guarded block would not be caught.
__declspec(noinline) bool RunCatching(GuardedWork work, void* context) {
  try {
    work(context);
    return true;
  } catch (...) {
    return false;
  }
}

int Filter(DWORD code, unsigned long* stored) {
  if (IsCppException(code)) return EXCEPTION_CONTINUE_SEARCH;
  *stored = code;
  return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

GuardedResult GuardedCall(GuardedWork work, void* context, unsigned long* code) {
  *code = 0;
  GuardedResult result = GuardedResult::systemException;
  __try {
    result = RunCatching(work, context) ? GuardedResult::done : GuardedResult::cppException;
  } __except (Filter(GetExceptionCode(), code)) {
    // Without its guard page back, the next stack overflow would end the process.
    if (*code == EXCEPTION_STACK_OVERFLOW) _resetstkoflw();
  }
  return result;
}

}  // namespace vtclass::platform
