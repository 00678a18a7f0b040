#ifndef VTCLASS_TESTS_SUPPORT_RUN_HERE_H
#define VTCLASS_TESTS_SUPPORT_RUN_HERE_H

#include <vtclass/win32.h>

#include <string>
#include <vector>

#include "platform/owned.h"
#include "tests/support/scratch_folder.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/console.h"

namespace vtctl::test {

/* A command of vtctl run in this process, so that a test can play what it asks the system. */
struct RunHere {
  RunHere(AddCommand add, const std::vector<std::wstring>& words) {
    const vtclass::test::ScratchFolder folder;
    const DWORD streams[] = {STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};
    vtclass::platform::OwnedFile files[2];
    HANDLE before[2];
    for (int i = 0; i < 2; ++i) {
      files[i].Reset(::CreateFileW((folder / std::to_wstring(i)).c_str(), GENERIC_WRITE,
                                   FILE_SHARE_READ, nullptr, CREATE_NEW, 0, nullptr));
      before[i] = ::GetStdHandle(streams[i]);
      ::SetStdHandle(streams[i], files[i].Get());
    }
    std::vector<std::string> line;
    for (const std::wstring& word : words) line.push_back(ToUtf8(word));
    code = RunCommandLine({"vtctl", "", "", ""}, {&add, 1}, line);
    for (int i = 0; i < 2; ++i) ::SetStdHandle(streams[i], before[i]);
    output = vtclass::test::FileBytes(folder / L"0");
    errors = vtclass::test::FileBytes(folder / L"1");
  }

  int code;
  std::string output;
  std::string errors;
};

/* Standard input for one scope: a file of these bytes. */
class PlayedInput {
 public:
  explicit PlayedInput(const std::string& bytes) {
    vtclass::test::MakeFile(folder / L"input", bytes);
    file.Reset(::CreateFileW((folder / L"input").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                             OPEN_EXISTING, 0, nullptr));
    ::SetStdHandle(STD_INPUT_HANDLE, file.Get());
  }
  ~PlayedInput() { ::SetStdHandle(STD_INPUT_HANDLE, before); }
  PlayedInput(const PlayedInput&) = delete;
  PlayedInput& operator=(const PlayedInput&) = delete;

 private:
  const HANDLE before = ::GetStdHandle(STD_INPUT_HANDLE);
  const vtclass::test::ScratchFolder folder;
  vtclass::platform::OwnedFile file;
};

}  // namespace vtctl::test

#endif
