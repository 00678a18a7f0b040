#include "tests/support/random_name.h"

#include <vtclass/win32.h>

#include <random>

#include "platform/owned.h"

namespace vtclass::test {

std::wstring RandomName() {
  std::random_device device;
  return std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(device());
}

bool OwnerIsAlive(const std::wstring& randomName) {
  const DWORD id = std::wcstoul(randomName.c_str(), nullptr, 10);
  const platform::OwnedKernelObject process(::OpenProcess(SYNCHRONIZE, FALSE, id));
  if (!process) return ::GetLastError() == ERROR_ACCESS_DENIED;
  return ::WaitForSingleObject(process.Get(), 0) == WAIT_TIMEOUT;
}

}  // namespace vtclass::test
