#include "tests/support/test_service.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/eventually.h"

namespace vtclass::test {

TestService::TestService(const std::wstring& name)
    : name(name), manager(::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS)) {
  wchar_t path[MAX_PATH] = L"";
  ::GetModuleFileNameW(nullptr, path, MAX_PATH);
  const auto program = std::filesystem::path(path).replace_filename(L"test_service.exe");
  if (!manager) return;
  service.Reset(::CreateServiceW(manager.Get(), name.c_str(), nullptr, SERVICE_ALL_ACCESS,
                                 SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START,
                                 SERVICE_ERROR_IGNORE, (L"\"" + program.native() + L"\"").c_str(),
                                 nullptr, nullptr, nullptr, nullptr, nullptr));
}

TestService::~TestService() {
  if (!service) return;
  Stop();
  EXPECT_TRUE(::DeleteService(service.Get()));
  service.Reset();
  // It goes with its last handle, and the service manager keeps one until the program has ended.
  EXPECT_TRUE(Eventually([&] {
    return !platform::OwnedService(
        ::OpenServiceW(manager.Get(), name.c_str(), SERVICE_QUERY_STATUS));
  }));
}

void TestService::Start() {
  EXPECT_TRUE(::StartServiceW(service.Get(), 0, nullptr)) << ::GetLastError();
  WaitFor(SERVICE_RUNNING);
}

void TestService::Stop() {
  SERVICE_STATUS status = {};
  if (::ControlService(service.Get(), SERVICE_CONTROL_STOP, &status)) WaitFor(SERVICE_STOPPED);
}

void TestService::WaitFor(DWORD state) {
  SERVICE_STATUS status = {};
  EXPECT_TRUE(Eventually([&] {
    EXPECT_TRUE(::QueryServiceStatus(service.Get(), &status)) << ::GetLastError();
    return status.dwCurrentState == state;
  })) << status.dwCurrentState;
}

}  // namespace vtclass::test
