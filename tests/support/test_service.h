#ifndef VTCLASS_TESTS_SUPPORT_TEST_SERVICE_H
#define VTCLASS_TESTS_SUPPORT_TEST_SERVICE_H

#include <vtclass/win32.h>

#include <string>

#include "platform/owned.h"

namespace vtclass::test {

/*
 * A real service, registered under a name that the library looks for, stopped and removed at the
 * end. Not `Usable` where a service of that name exists already, which the test must leave alone,
 * or this user may register none. The test program depends on the target test_service and shares
 * the machine's services (LOCK machine).
 */
class TestService {
 public:
  explicit TestService(const std::wstring& name);
  ~TestService();
  TestService(const TestService&) = delete;
  TestService& operator=(const TestService&) = delete;

  bool Usable() const { return static_cast<bool>(service); }
  /* Both wait until it is so. */
  void Start();
  void Stop();

 private:
  void WaitFor(DWORD state);

  const std::wstring name;
  platform::OwnedService manager;
  platform::OwnedService service;
};

/* Why a test without a usable service is skipped. */
inline constexpr const char* kNoService =
    "a service of that name exists already, or this user may add none";

}  // namespace vtclass::test

#endif
