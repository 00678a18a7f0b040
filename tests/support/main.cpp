#include <vtclass/win32.h>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
  // A fault ends the program with its code instead of a dialogue that nobody sees.
  ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
