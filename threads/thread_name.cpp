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

// The record that debuggers know.
struct NameRecord {
  DWORD type = 0x1000;
  const char* name = nullptr;
  DWORD threadId = 0;
  DWORD flags = 0;
};

// The argument count is the record's size in 32-bit units, and is kept so. The platform reads as
// many pointer-sized arguments, twice the record: what lies behind it has to be ours, and zero.
struct NameArguments {
  NameRecord record;
  DWORD zeros[sizeof(NameRecord) / sizeof(DWORD)] = {};
};
constexpr DWORD kArgumentCount = sizeof(NameRecord) / sizeof(DWORD);
static_assert(sizeof(NameArguments) >= kArgumentCount * sizeof(ULONG_PTR));

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
  NameArguments arguments{.record = {.name = name, .threadId = threadId}};
  unsigned long ignored = 0;
  GuardedCall(&RaiseName, &arguments, &ignored);
  Describe(threadId, name);
}
