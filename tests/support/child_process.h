#ifndef VTCLASS_TESTS_SUPPORT_CHILD_PROCESS_H
#define VTCLASS_TESTS_SUPPORT_CHILD_PROCESS_H

#include <vtclass/win32.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/owned.h"

namespace vtclass::test {

/*
 * A program that lies beside the test program, started with its output in files. The files go with
 * the last handle to them, which may be that of a background program that the system has started
 * for the child and that has inherited it.
 */
class ChildProcess {
 public:
  // With `standardOutput`, an inheritable handle, the program's output goes there. With `input` it
  // reads that; otherwise it has no standard input.
  ChildProcess(const std::wstring& program, const std::vector<std::wstring>& arguments,
               HANDLE standardOutput = nullptr, const std::optional<std::string>& input = {});
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /* Waits for the end, a minute at most; a program that does not end fails the test and is killed.
   */
  int ExitCode();
  bool IsRunning() const;
  void Kill();

  /* What it has printed so far. */
  std::string Output() const;
  std::string ErrorOutput() const;

 private:
  struct Stream {
    Stream();
    std::string Text() const;
    std::wstring path;
    platform::OwnedFile file;
  };

  Stream output, errorOutput;
  platform::OwnedKernelObject process;
};

}  // namespace vtclass::test

#endif
