// The trace log's lock, and writers in several processes at once.
#include <future>
#include <map>
#include <thread>

#include "diag/trace.h"
#include "trace_folder.h"

namespace tests {
namespace {

using TraceSharing = TraceFolder;

constexpr DWORD kPatience = 20000;  // milliseconds
constexpr int kWriters = 2, kThreads = 4, kRecords = 200;

TEST_F(TraceSharing, LockThatIsBusyOrAbandonedCostsRecords) {
  // A lock that nobody else has open goes with its owner; another writer's handle keeps it, abandoned.
  const HANDLE lock = CreateMutexA(nullptr, FALSE, kLock);
  std::promise<void> taken, over;
  std::thread owner([&] {
    WaitForSingleObject(lock, INFINITE);
    taken.set_value();
    over.get_future().wait();
  });
  taken.get_future().wait();
  const ULONGLONG start = GetTickCount64();
  for (int i = 0; i < 100; ++i) Log("dropped");
  const ULONGLONG waited = GetTickCount64() - start;
  EXPECT_GE(waited, 80u) << "a busy lock is worth a short wait";
  EXPECT_LE(waited, 5000u) << "but not at each record";
  over.set_value();
  owner.join();
  Log("dropped");
  EXPECT_EQ(SizeOf(kLog), -1);
  // Were it not given back, this thread could take it again, but no other.
  std::thread([] { Log("written"); }).join();
  CloseHandle(lock);
  EXPECT_EQ(ReadTexts(), std::vector<std::string>{"[Error] written"});
  EXPECT_EQ(OpenMutexA(SYNCHRONIZE, FALSE, kLock), nullptr) << "nothing is kept between records";
}

// What a writer's thread writes as its record `number`: texts from some bytes to more than a file buffer holds.
std::string Message(int writer, int thread, int number) {
  char head[64];
  snprintf(head, sizeof head, "writer %d thread %d record %d ", writer, thread, number);
  const auto filling = static_cast<std::size_t>(number) * 37 % 5000;
  return head + std::string(filling, static_cast<char>('a' + writer * kThreads + thread));
}

HANDLE Ready() {
  return CreateSemaphoreA(nullptr, 0, kWriters, "trace_log_test.ready");
}
HANDLE Start() {
  return CreateEventA(nullptr, TRUE, FALSE, "trace_log_test.start");
}

// What this program does when it is started with a writer's number.
int Write(int writer) {
  ReleaseSemaphore(Ready(), 1, nullptr);
  if (WaitForSingleObject(Start(), kPatience) != WAIT_OBJECT_0) return 1;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([writer, thread] {
      for (int i = 0; i < kRecords; ++i) r5lqz::LogMessage(1, "%s", Message(writer, thread, i).c_str());
    });
  }
  for (std::thread& thread : threads) thread.join();
  return 0;
}

HANDLE StartWriter(int writer) {
  char program[MAX_PATH] = "";
  GetModuleFileNameA(nullptr, program, sizeof program);
  std::string line = '"' + std::string(program) + "\" " + std::to_string(writer);
  STARTUPINFOA startup{sizeof startup};
  PROCESS_INFORMATION created{};
  EXPECT_TRUE(CreateProcessA(program, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &created));
  CloseHandle(created.hThread);
  return created.hProcess;
}

TEST_F(TraceSharing, WritersAtOnceTearMixAndRepeatNoLine) {
  const HANDLE ready = Ready(), start = Start();
  const HANDLE writers[kWriters] = {StartWriter(0), StartWriter(1)};
  for (int i = 0; i < kWriters; ++i) EXPECT_EQ(WaitForSingleObject(ready, kPatience), WAIT_OBJECT_0);
  SetEvent(start);
  EXPECT_EQ(WaitForMultipleObjects(kWriters, writers, TRUE, kPatience), WAIT_OBJECT_0) << "they do not end";
  for (const HANDLE handle : {ready, start, writers[0], writers[1]}) CloseHandle(handle);

  std::map<std::pair<int, int>, int> next;  // the least number that may follow of each writer's thread
  int counts[kWriters] = {};
  for (const std::string& text : ReadTexts()) {
    int writer = -1, thread = -1, number = -1;
    sscanf(text.c_str(), "[Info]  writer %d thread %d record %d ", &writer, &thread, &number);
    ASSERT_TRUE(text == "[Info]  " + Message(writer, thread, number)) << text.substr(0, 100);
    int& least = next[{writer, thread}];
    EXPECT_GE(number, least) << "out of order or twice";
    least = number + 1;
    ++counts[writer];
  }
  // Dropping is allowed, but a lock that shuts a process out is not one.
  for (const int count : counts) EXPECT_GT(count, 0);
}

}  // namespace
}  // namespace tests

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  return argc == 2 ? tests::Write(atoi(argv[1])) : RUN_ALL_TESTS();
}
