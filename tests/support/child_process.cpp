#include "tests/support/child_process.h"

#include <gtest/gtest.h>

#include "tests/support/random_name.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/wine.h"

namespace vtclass::test {
namespace {

constexpr DWORD kLongestRun = 60000;
constexpr UINT kKilled = 99;

// One word of a command line, as the C run time and CommandLineToArgvW take it apart again.
std::wstring Quoted(const std::wstring& word) {
  std::wstring text = L"\"";
  size_t backslashes = 0;
  for (const wchar_t unit : word) {
    if (unit == L'"') text.append(backslashes + 1, L'\\');
    backslashes = unit == L'\\' ? backslashes + 1 : 0;
    text += unit;
  }
  return text.append(backslashes, L'\\') + L"\"";
}

std::wstring BesideThisProgram(const std::wstring& name) {
  std::wstring path(32768, L'\0');
  path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return path.substr(0, path.rfind(L'\\') + 1) + name;
}

std::wstring TemporaryName() {
  wchar_t folder[MAX_PATH + 1] = {};
  ::GetTempPathW(MAX_PATH + 1, folder);
  return folder + (L"vtclass-test-output-" + RandomName());
}

// A file with these bytes, to be inherited; it goes with the handle.
platform::OwnedFile InputFile(const std::string& bytes) {
  SECURITY_ATTRIBUTES attributes = {sizeof attributes, nullptr, TRUE};
  platform::OwnedFile file(::CreateFileW(
      TemporaryName().c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, FILE_SHARE_DELETE,
      &attributes, CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE, nullptr));
  DWORD written = 0;
  EXPECT_TRUE(
      ::WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
  ::SetFilePointer(file.Get(), 0, nullptr, FILE_BEGIN);
  return file;
}

}  // namespace

ChildProcess::Stream::Stream() : path(TemporaryName()) {
  SECURITY_ATTRIBUTES attributes = {sizeof attributes, nullptr, TRUE};
  file.Reset(::CreateFileW(path.c_str(), GENERIC_WRITE | DELETE,
                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &attributes,
                           CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE, nullptr));
  EXPECT_TRUE(file) << Status(static_cast<long>(::GetLastError()));
}

std::string ChildProcess::Stream::Text() const { return FileBytes(path); }

ChildProcess::ChildProcess(const std::wstring& program, const std::vector<std::wstring>& arguments,
                           HANDLE standardOutput, const std::optional<std::string>& input) {
  const std::wstring path = BesideThisProgram(program);
  std::wstring line = Quoted(path);
  for (const std::wstring& argument : arguments) line += L" " + Quoted(argument);
  STARTUPINFOW start = {};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  const platform::OwnedFile inputFile = input ? InputFile(*input) : platform::OwnedFile();
  if (input) start.hStdInput = inputFile.Get();
  start.hStdOutput = standardOutput ? standardOutput : output.file.Get();
  start.hStdError = errorOutput.file.Get();
  PROCESS_INFORMATION information = {};
  const auto begin = [&] {
    return ::CreateProcessW(path.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                            &start, &information);
  };
  // Wine on a machine under load answers so, once in thousands, for a process that has not begun.
  const bool isStarted = begin() || (::GetLastError() == ERROR_INTERNAL_ERROR && begin());
  EXPECT_TRUE(isStarted) << Status(static_cast<long>(::GetLastError()));
  const platform::OwnedKernelObject thread(information.hThread);
  process.Reset(information.hProcess);
}

ChildProcess::~ChildProcess() { ExitCode(); }

int ChildProcess::ExitCode() {
  if (::WaitForSingleObject(process.Get(), kLongestRun) != WAIT_OBJECT_0) {
    ADD_FAILURE() << "the program did not end";
    Kill();
  }
  DWORD code = 0;
  ::GetExitCodeProcess(process.Get(), &code);
  return static_cast<int>(code);
}

bool ChildProcess::IsRunning() const {
  return ::WaitForSingleObject(process.Get(), 0) == WAIT_TIMEOUT;
}

void ChildProcess::Kill() {
  ::TerminateProcess(process.Get(), kKilled);
  ::WaitForSingleObject(process.Get(), kLongestRun);
}

std::string ChildProcess::Output() const { return output.Text(); }

std::string ChildProcess::ErrorOutput() const { return errorOutput.Text(); }

}  // namespace vtclass::test
