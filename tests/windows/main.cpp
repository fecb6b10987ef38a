#include <gtest/gtest.h>

#include "peer_process.h"

int main(int argc, char** argv) {
  if (const int code = tests::PlayRole(argc, argv); code >= 0) return code;
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
