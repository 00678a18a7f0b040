#ifndef VTCLASS_TESTS_SUPPORT_LIBRARY_COPY_H
#define VTCLASS_TESTS_SUPPORT_LIBRARY_COPY_H

#include <vtclass/win32.h>

#include <bit>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/scratch_folder.h"

namespace vtclass::test {

/*
 * A copy of a DLL of this program, in a folder of its own: as in a process that has just begun, it
 * remembers nothing and nothing runs in it. The last one that is freed unloads it; the test fails
 * when something keeps it.
 *
 *   LibraryCopy copy(L"vtclass_mini.dll", {L"vtsocket.dll", L"vtcluster.dll"});
 *   copy(&vtclass::IsThisMe)(name, &isMe, true);
 */
class LibraryCopy {
 public:
  /* The files of `beside` are copied too, and loaded when the DLL wants them. */
  explicit LibraryCopy(const std::wstring& name, const std::vector<std::wstring>& beside = {});
  ~LibraryCopy();
  LibraryCopy(const LibraryCopy&) = delete;
  LibraryCopy& operator=(const LibraryCopy&) = delete;

  /* The copy's own. Both images are the same, so a function lies in the same place. */
  template <typename Function>
  Function* operator()(Function* function) const {
    return std::bit_cast<Function*>(std::bit_cast<std::uintptr_t>(function) -
                                    std::bit_cast<std::uintptr_t>(original) +
                                    std::bit_cast<std::uintptr_t>(module));
  }
  HMODULE Module() const { return module; }
  /* The handle of a file of the folder that is loaded now; null when it is not. */
  HMODULE Loaded(const std::wstring& name) const;
  /* Gives the test's reference back, and takes one again. */
  void Free();
  void Load();

 private:
  ScratchFolder folder;
  std::vector<std::wstring> names;
  HMODULE original;
  HMODULE module;
};

}  // namespace vtclass::test

#endif
