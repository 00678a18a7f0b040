#ifndef VTCLASS_TESTS_NETWORK_NETWORK_NAMES_H
#define VTCLASS_TESTS_NETWORK_NETWORK_NAMES_H

#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <string>

namespace vtclass::test {

/*
 * The name that plays `role` in the tests' network (tests/network/names.txt), empty outside of it.
 * `role` is written as in the table.
 */
inline std::string NetworkName(const std::string& role) {
  char name[256] = "";
  const DWORD length =
      ::GetEnvironmentVariableA(("VTCLASS_NETWORK_" + role).c_str(), name, sizeof(name));
  return {name, length < sizeof(name) ? length : 0};
}

/* The base of suites that need the tests' network. */
class NetworkTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (NetworkName("HOST").empty())
      GTEST_SKIP() << "This program runs in the tests' network only (tests/network/in-network)";
  }
};

}  // namespace vtclass::test

#endif
