// The main of every test executable: the library is up and the main thread attached while the
// tests run, as in the host.
#include <gtest/gtest.h>

#include <cstdlib>

#include "base/library.h"
#include "tests/test_support.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  // No test may wait for a person: boxes answer by themselves, and an allocation that fails
  // is given up instead of retried forever.
  if (!std::getenv("RUNA1_AUTO_ANSWER")) runa1_test::setEnvironment("RUNA1_AUTO_ANSWER", "cancel");
  vkInitialize(VK_LIBRARY_VERSION);
  int result = RUN_ALL_TESTS();
  vkUninitialize();
  return result;
}
