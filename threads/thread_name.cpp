#include <vtclass/win32.h>

#include <memory>
#include <new>

#include "platform/bound_function.h"
#include "platform/guarded_call.h"
#include "platform/owned.h"
#include "vtclass/threads.h"

namespace {

using vtclass::platform::BoundFunction;
using vtclass::platform::GuardedCall;
using vtclass::platform::OwnedKernelObject;

constexpr DWORD kThreadNameException = 0x406D1388;
constexpr DWORD kThisThread = 0xFFFFFFFF;

// In kernelbase.dll on every system that has it; the first of these lack it in kernel32.dll.
constinit BoundFunction<HRESULT WINAPI(HANDLE, PCWSTR)> setThreadDescription(L"kernelbase.dll",
                                                                             "SetThreadDescription",
                                                                             E_NOTIMPL);

// The record that debuggers know: a type of 32 bits, the name's pointer, the thread id and the
// flags of 32 bits each. The argument count is its size in 32-bit units, and is kept so; the
// platform reads as many pointer-sized arguments, twice the record. All of them are written here,
// the gap behind the type too.
constexpr DWORD kArgumentCount = 6;
using NameArguments = ULONG_PTR[kArgumentCount];
constexpr ULONG_PTR kNameType = 0x1000;

void RaiseName(void* arguments) {
  ::RaiseException(kThreadNameException, 0, kArgumentCount, static_cast<ULONG_PTR*>(arguments));
}

void Describe(DWORD threadId, const char* name) {
  if (!name || !setThreadDescription.Get()) return;
  const int room = ::MultiByteToWideChar(CP_ACP, 0, name, -1, nullptr, 0);
  if (room <= 0) return;
  const std::unique_ptr<wchar_t[]> wide(new (std::nothrow) wchar_t[static_cast<size_t>(room)]);
  if (!wide || ::MultiByteToWideChar(CP_ACP, 0, name, -1, wide.get(), room) == 0) return;
  if (threadId == kThisThread || threadId == ::GetCurrentThreadId()) {
    setThreadDescription(::GetCurrentThread(), wide.get());
    return;
  }
  const OwnedKernelObject thread(::OpenThread(THREAD_SET_LIMITED_INFORMATION, FALSE, threadId));
  if (thread) setThreadDescription(thread.Get(), wide.get());
}

}  // namespace

void WorkerThread::SetThreadName(unsigned long threadId, const char* name) {
  NameArguments arguments = {kNameType, reinterpret_cast<ULONG_PTR>(name), threadId};
  unsigned long ignored = 0;
  GuardedCall(&RaiseName, arguments, &ignored);
  Describe(threadId, name);
}
