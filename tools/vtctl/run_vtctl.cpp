#include "tools/vtctl/run_vtctl.h"

#include <gtest/gtest.h>

#include "tests/support/wine.h"

namespace vtctl::test {
namespace {

constexpr DWORD kLongestRun = 60000;

/* One word of a command line, as the C run time and CommandLineToArgvW take it apart again. */
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

std::wstring Program() {
  std::wstring path(32768, L'\0');
  path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return path.substr(0, path.rfind(L'\\') + 1) + L"vtctl.exe";
}

HANDLE InheritableFile(const std::wstring& path) {
  SECURITY_ATTRIBUTES attributes = {sizeof attributes, nullptr, TRUE};
  return ::CreateFileW(path.c_str(), GENERIC_WRITE,
                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &attributes,
                       CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

}  // namespace

VtctlRun::VtctlRun(const std::vector<std::wstring>& arguments) {
  std::wstring line = Quoted(Program());
  for (const std::wstring& argument : arguments) line += L" " + Quoted(argument);
  const vtclass::platform::OwnedFile out(InheritableFile(scratch / L"out"));
  const vtclass::platform::OwnedFile err(InheritableFile(scratch / L"err"));
  STARTUPINFOW start = {};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdOutput = out.Get();
  start.hStdError = err.Get();
  PROCESS_INFORMATION information = {};
  EXPECT_TRUE(::CreateProcessW(Program().c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                               nullptr, &start, &information))
      << vtclass::test::Status(static_cast<long>(::GetLastError()));
  if (information.hThread) ::CloseHandle(information.hThread);
  process.Reset(information.hProcess);
}

VtctlRun::~VtctlRun() { ExitCode(); }

int VtctlRun::ExitCode() {
  if (::WaitForSingleObject(process.Get(), kLongestRun) != WAIT_OBJECT_0) {
    ADD_FAILURE() << "vtctl did not end";
    ::TerminateProcess(process.Get(), 99);
    ::WaitForSingleObject(process.Get(), kLongestRun);
  }
  DWORD code = 0;
  ::GetExitCodeProcess(process.Get(), &code);
  return static_cast<int>(code);
}

std::string VtctlRun::Output() const { return vtclass::test::FileBytes(scratch / L"out"); }

std::string VtctlRun::ErrorOutput() const { return vtclass::test::FileBytes(scratch / L"err"); }

}  // namespace vtctl::test
