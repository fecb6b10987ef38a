// The trace log between processes: its lock, and many writers at once.
#include <map>
#include <thread>

#include "diag/trace.h"
#include "import_patch.h"
#include "peer_process.h"
#include "trace_folder.h"

namespace tests {
namespace {

using TraceSharing = TraceFolder;

std::vector<std::string> Texts() {
  std::vector<std::string> texts;
  for (const Record& record : ReadRecords()) texts.push_back(record.text);
  return texts;
}

using Lines = std::vector<std::string>;

// How the module made its lock.
struct {
  int calls;
  std::string name;
  bool inheritable;
  bool default_security;
  BOOL owned;
  decltype(&CreateMutexA) platform;
} made_lock;

HANDLE WINAPI WatchedCreateMutex(SECURITY_ATTRIBUTES* security, BOOL owned, LPCSTR name) {
  ++made_lock.calls;
  made_lock.name = name ? name : "";
  made_lock.inheritable = security && security->nLength == sizeof *security && security->bInheritHandle;
  made_lock.default_security = !security || !security->lpSecurityDescriptor;
  made_lock.owned = owned;
  return made_lock.platform(security, owned, name);
}

TEST_F(TraceSharing, LockIsNamedAfterTheLogAndInheritable) {
  made_lock = {};
  const auto patch = platform::ReplaceImport(GetModuleHandleA(nullptr), "kernel32.dll", "CreateMutexA",
                                             reinterpret_cast<const void*>(&WatchedCreateMutex));
  ASSERT_TRUE(patch);
  made_lock.platform = patch.Previous<decltype(&CreateMutexA)>();
  DWORD handles_before = 0, handles_after = 0;
  Log(0, "first");
  GetProcessHandleCount(GetCurrentProcess(), &handles_before);
  for (int i = 0; i < 20; ++i) Log(0, "again");
  GetProcessHandleCount(GetCurrentProcess(), &handles_after);

  EXPECT_EQ(made_lock.calls, 21) << "one for each record";
  EXPECT_EQ(made_lock.name, kLock);
  EXPECT_TRUE(made_lock.inheritable);
  EXPECT_TRUE(made_lock.default_security);
  EXPECT_FALSE(made_lock.owned);
  EXPECT_EQ(handles_before, handles_after);
  EXPECT_EQ(OpenMutexA(SYNCHRONIZE, FALSE, kLock), nullptr) << "nothing is kept between records";
}

TEST_F(TraceSharing, RecordIsDroppedWhileAnotherProcessHoldsTheLock) {
  Peer peer("hold");
  ASSERT_TRUE(peer.ready());
  const ULONGLONG start = GetTickCount64();
  Log(0, "dropped");
  const ULONGLONG waited = GetTickCount64() - start;
  EXPECT_EQ(SizeOf(kLog), -1);
  EXPECT_GE(waited, 80u) << "a busy lock is worth a short wait";
  EXPECT_LE(waited, 5000u) << "a caller is not kept waiting";
  EXPECT_EQ(peer.Finish(), 0u);
  Log(0, "written");
  EXPECT_EQ(Texts(), Lines{"[Error] written"});
}

TEST_F(TraceSharing, LockOfAProcessThatDiedCostsOneRecord) {
  Peer peer("die");
  ASSERT_TRUE(peer.ready());
  // A lock that nobody else has open goes with its process; another writer's handle keeps it, abandoned.
  const HANDLE other = OpenMutexA(SYNCHRONIZE, FALSE, kLock);
  ASSERT_TRUE(other);
  EXPECT_EQ(peer.Finish(), 0u);
  Log(0, "dropped");
  EXPECT_EQ(SizeOf(kLog), -1);
  // Were it not given back, this thread could take it again, but no other.
  std::thread([] { Log(0, "written"); }).join();
  CloseHandle(other);
  EXPECT_EQ(Texts(), Lines{"[Error] written"});
}

TEST_F(TraceSharing, LockThatWentWithItsProcessCostsNothing) {
  {
    Peer peer("die");
    ASSERT_TRUE(peer.ready());
    EXPECT_EQ(peer.Finish(), 0u);
  }
  Log(0, "written");
  EXPECT_EQ(Texts(), Lines{"[Error] written"});
}

TEST_F(TraceSharing, OnlyADocumentsStartReadsTheMask) {
  WriteBytes(kMask, "3");
  Peer peer("attach");
  ASSERT_TRUE(peer.ready());
  EXPECT_EQ(peer.Finish(), 0x300u);
  // The event that switched tracing on was entered with tracing off.
  EXPECT_EQ(Texts(), Lines{"[Trace] </DrvDocumentEvent>"});
}

TEST_F(TraceSharing, WritersAtOnceTearMixAndRepeatNoLine) {
  Peer peers[] = {Peer("write", 0), Peer("write", 1)};
  for (Peer& peer : peers) ASSERT_TRUE(peer.ready());
  for (Peer& peer : peers) peer.Go();
  for (Peer& peer : peers) EXPECT_EQ(peer.Finish(), 0u);

  std::map<std::pair<int, int>, int> last;  // record of each writer's thread
  std::map<std::pair<int, int>, DWORD> threads;
  int counts[2] = {};
  for (const Record& record : ReadRecords()) {
    int writer = -1, thread = -1, number = -1;
    sscanf(record.text.c_str(), "[Info]  writer %d thread %d record %d ", &writer, &thread, &number);
    ASSERT_TRUE(record.text == "[Info]  " + WriterMessage(writer, thread, number)) << record.text.substr(0, 100);
    const std::pair source(writer, thread);
    if (const auto [place, first] = last.try_emplace(source, number); !first) {
      EXPECT_LT(place->second, number) << "out of order or twice";
      place->second = number;
    }
    EXPECT_EQ(threads.try_emplace(source, record.thread).first->second, record.thread);
    ++counts[writer];
  }
  // Dropping is allowed, but a lock that shuts a process out is not one.
  constexpr int kAll = kWriterThreads * kWriterRecords;
  for (const int count : counts) EXPECT_GT(count, kAll / 4);
  RecordProperty("written", counts[0] + counts[1]);
  printf("%d of %d records written\n", counts[0] + counts[1], 2 * kAll);
}

}  // namespace
}  // namespace tests
