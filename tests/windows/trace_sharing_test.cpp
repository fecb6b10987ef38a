// The trace log between processes: its lock, and many writers at once.
#include <atomic>
#include <map>
#include <thread>

#include "import_patch.h"
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

int waits = 0;
DWORD WINAPI CountWaits(HANDLE handle, DWORD patience) {
  static const auto real_wait = reinterpret_cast<decltype(&WaitForSingleObject)>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "WaitForSingleObject")));
  if (patience > 0) ++waits;
  return real_wait(handle, patience);
}

// Who holds it a little at every record, and gives it up each time before a wait is in vain.
TEST_F(TraceSharing, LockThatIsBusyAgainAndAgainIsNotAwaitedAtEveryRecord) {
  std::atomic<bool> over = false;
  std::thread holder([&] {
    const HANDLE lock = CreateMutexA(nullptr, FALSE, kLock);
    for (; !over; ReleaseMutex(lock)) {
      WaitForSingleObject(lock, INFINITE);
      Sleep(60);
    }
    CloseHandle(lock);
  });
  {
    const auto patch = platform::ReplaceImport(GetModuleHandleW(nullptr), "kernel32.dll", "WaitForSingleObject",
                                               reinterpret_cast<const void*>(&CountWaits));
    ASSERT_TRUE(patch);
    Log("begins");
    waits = 0;
    for (int i = 0; i < 30; ++i) Log("held up");
  }
  over = true;
  holder.join();
  EXPECT_LE(waits, 6);
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
