// The trace log between processes: its lock, and many writers at once.
#include <map>
#include <thread>

#include "peer_process.h"
#include "trace_folder.h"

namespace tests {
namespace {

using TraceSharing = TraceFolder;
using Texts = std::vector<std::string>;

TEST_F(TraceSharing, RecordIsDroppedWhileAnotherProcessHoldsTheLock) {
  Peer peer(Role::kHold);
  const ULONGLONG start = GetTickCount64();
  Log("dropped");
  const ULONGLONG waited = GetTickCount64() - start;
  EXPECT_EQ(SizeOf(kLog), -1);
  EXPECT_GE(waited, 80u) << "a busy lock is worth a short wait";
  EXPECT_LE(waited, 5000u) << "a caller is not kept waiting";
  for (int i = 0; i < 100; ++i) Log("dropped");
  EXPECT_LE(GetTickCount64() - start, 5000u) << "nor once for each record";
  peer.Finish();
  Log("written");
  EXPECT_EQ(ReadTexts(), Texts{"[Error] written"});
}

TEST_F(TraceSharing, LockOfAProcessThatDiedCostsOneRecord) {
  Peer peer(Role::kDie);
  // A lock that nobody else has open goes with its process; another writer's handle keeps it, abandoned.
  const HANDLE other = OpenMutexA(SYNCHRONIZE, FALSE, kLock);
  ASSERT_TRUE(other);
  peer.Finish();
  Log("dropped");
  EXPECT_EQ(SizeOf(kLog), -1);
  // Were it not given back, this thread could take it again, but no other.
  std::thread([] { Log("written"); }).join();
  CloseHandle(other);
  EXPECT_EQ(ReadTexts(), Texts{"[Error] written"});
  EXPECT_EQ(OpenMutexA(SYNCHRONIZE, FALSE, kLock), nullptr) << "nothing is kept between records";
}

TEST_F(TraceSharing, WritersAtOnceTearMixAndRepeatNoLine) {
  Peer peers[] = {Peer(Role::kWrite, 0), Peer(Role::kWrite, 1)};
  for (Peer& peer : peers) peer.Go();
  for (Peer& peer : peers) peer.Finish();

  std::map<std::pair<int, int>, int> next;  // the least number that may follow of each writer's thread
  int counts[2] = {};
  for (const std::string& text : ReadTexts()) {
    int writer = -1, thread = -1, number = -1;
    sscanf(text.c_str(), "[Info]  writer %d thread %d record %d ", &writer, &thread, &number);
    ASSERT_TRUE(text == "[Info]  " + WriterMessage(writer, thread, number)) << text.substr(0, 100);
    int& least = next[{writer, thread}];
    EXPECT_GE(number, least) << "out of order or twice";
    least = number + 1;
    ++counts[writer];
  }
  // Dropping is allowed, but a lock that shuts a process out is not one.
  constexpr int kAll = kWriterThreads * kWriterRecords;
  for (const int count : counts) EXPECT_GT(count, kAll / 4);
  printf("%d of %d records written\n", counts[0] + counts[1], 2 * kAll);
}

}  // namespace
}  // namespace tests
