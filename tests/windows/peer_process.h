// Another process beside the test: this program again, in a role.
#pragma once

#include <windows.h>

#include <string>

namespace tests {

enum class Role {
  kHold,   // takes the log's lock, and gives it back when told to go on
  kDie,    // takes the log's lock, and ends with it when told
  kWrite,  // writes kWriterRecords records from each of kWriterThreads threads at once when told
};

// Starts a process and waits until it is in place. It goes on when told, and is ended with its owner if it still runs.
// What does not go as it should is a failure of the test.
class Peer {
 public:
  explicit Peer(Role role, int number = 0);
  ~Peer();
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  void Go() { SetEvent(go_event_); }
  // Tells it to go on and waits for its end.
  void Finish();

 private:
  HANDLE ready_event_;
  HANDLE go_event_;
  HANDLE process_ = nullptr;
};

inline constexpr int kWriterThreads = 4;
inline constexpr int kWriterRecords = 200;  // of each thread

// What a writer's thread writes as its record `number`: texts from some bytes to more than a file buffer holds.
std::string WriterMessage(int writer, int thread, int number);

// Plays the role that a command line names; the exit code, or -1 when it names none.
int PlayRole(int argc, char** argv);

}  // namespace tests
