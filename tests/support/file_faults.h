#ifndef VTCLASS_TESTS_SUPPORT_FILE_FAULTS_H
#define VTCLASS_TESTS_SUPPORT_FILE_FAULTS_H

#include <vtclass/win32.h>

#include <algorithm>
#include <cstdint>

#include "tests/support/import_hook.h"

namespace vtclass::test {

/* What the library's file calls do while a FileFaults lives. */
struct FaultPlan {
  int failAt = 0;             /* the call that fails */
  bool isShort = false;       /* if it reads or writes, it moves a byte less and succeeds */
  std::uint64_t room = ~0ull; /* the bytes that the disk still takes */
  bool isDenied = false;      /* what a short call moved is reported as a failure of 0 bytes */
  bool isLost = false;        /* the next way to the end behind the failed call fails too */
  int failingCuts = 0;        /* how many, from the first one on, fail */
  int calls = 0;
};
inline FaultPlan faultPlan;

inline bool Fails() {
  if (++faultPlan.calls != faultPlan.failAt) return false;
  ::SetLastError(ERROR_IO_DEVICE);
  return true;
}

inline BOOL WINAPI Seek(HANDLE file, LARGE_INTEGER to, PLARGE_INTEGER at, DWORD how) {
  const bool isLost = how == FILE_END && faultPlan.isLost && faultPlan.calls >= faultPlan.failAt;
  if (Fails()) return FALSE;
  if (!isLost) return ::SetFilePointerEx(file, to, at, how);
  faultPlan.isLost = false;
  ::SetLastError(ERROR_IO_DEVICE);
  return FALSE;
}
inline BOOL WINAPI Read(HANDLE file, LPVOID data, DWORD size, LPDWORD done,
                        LPOVERLAPPED overlapped) {
  if (!Fails()) return ::ReadFile(file, data, size, done, overlapped);
  return faultPlan.isShort && ::ReadFile(file, data, size - 1, done, overlapped);
}
inline BOOL WINAPI Write(HANDLE file, LPCVOID data, DWORD size, LPDWORD done,
                         LPOVERLAPPED overlapped) {
  if (Fails()) {
    if (!faultPlan.isShort || --size == 0) return FALSE;
    if (faultPlan.isDenied) {
      ::WriteFile(file, data, size, done, overlapped);
      *done = 0;
      ::SetLastError(ERROR_DISK_FULL);
      return FALSE;
    }
  }
  ::SetLastError(ERROR_DISK_FULL);
  if (faultPlan.room == 0) return FALSE;
  // A disk takes what it has room for and calls that a success.
  size = static_cast<DWORD>(std::min<std::uint64_t>(size, faultPlan.room));
  faultPlan.room -= size;
  return ::WriteFile(file, data, size, done, overlapped);
}
inline BOOL WINAPI Flush(HANDLE file) { return !Fails() && ::FlushFileBuffers(file); }
inline BOOL WINAPI Cut(HANDLE file) {
  if (Fails()) return FALSE;
  if (faultPlan.failingCuts-- <= 0) return ::SetEndOfFile(file);
  ::SetLastError(ERROR_IO_DEVICE);
  return FALSE;
}

struct FileFaults {
  explicit FileFaults(FaultPlan next) { faultPlan = next; }
  ImportHook<decltype(::SetFilePointerEx)> seek{"KERNEL32.dll", "SetFilePointerEx", &Seek};
  ImportHook<decltype(::ReadFile)> read{"KERNEL32.dll", "ReadFile", &Read};
  ImportHook<decltype(::WriteFile)> write{"KERNEL32.dll", "WriteFile", &Write};
  ImportHook<decltype(::FlushFileBuffers)> flush{"KERNEL32.dll", "FlushFileBuffers", &Flush};
  ImportHook<decltype(::SetEndOfFile)> cut{"KERNEL32.dll", "SetEndOfFile", &Cut};
};

}  // namespace vtclass::test

#endif
