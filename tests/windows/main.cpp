#include <gtest/gtest.h>

#include "../spooler/watchdog.h"
#include "peer_process.h"

int main(int argc, char** argv) {
  if (const int code = tests::PlayRole(argc, argv); code >= 0) return code;
  testing::InitGoogleTest(&argc, argv);
  tests::StartWatchdog(45);
  return RUN_ALL_TESTS();
}
