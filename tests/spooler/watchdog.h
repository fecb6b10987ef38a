// Ends a test program that stalls or crashes, and says where.
#pragma once

namespace tests {

/// Registers the watchdog with GoogleTest: a test that runs longer than `seconds` ends the program with code 3 and the
/// call stack of the thread that runs the tests; so does a crash of any thread, at once. GoogleTest has said which
/// test.
void StartWatchdog(unsigned seconds);

}  // namespace tests
