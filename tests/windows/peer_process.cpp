#include "peer_process.h"

#include <cstdio>
#include <string_view>
#include <thread>
#include <vector>

#include "diag/trace.h"
#include "trace_folder.h"

namespace tests {
namespace {

constexpr DWORD kPatience = 20000;  // milliseconds
constexpr char kRoleOption[] = "--role";
constexpr int kNoRole = -1;
constexpr int kFault = 99;

HANDLE PeerEvent(const std::string& events, const char* which) {
  return CreateEventA(nullptr, FALSE, FALSE, (events + which).c_str());
}

bool ReportAndWait(const std::string& events) {
  SetEvent(PeerEvent(events, ".ready"));
  return WaitForSingleObject(PeerEvent(events, ".go"), kPatience) == WAIT_OBJECT_0;
}

int HoldLock(const std::string& events, bool give_back) {
  const HANDLE lock = CreateMutexA(nullptr, FALSE, kLock);
  if (WaitForSingleObject(lock, kPatience) != WAIT_OBJECT_0 || !ReportAndWait(events)) return kFault;
  if (give_back) ReleaseMutex(lock);
  return 0;
}

int WriteRecords(const std::string& events, int writer) {
  if (!ReportAndWait(events)) return kFault;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kWriterThreads; ++thread) {
    threads.emplace_back([writer, thread] {
      for (int number = 0; number < kWriterRecords; ++number) {
        r5lqz::LogMessage(r5lqz::kInfoLevel, "%s", WriterMessage(writer, thread, number).c_str());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  return 0;
}

}  // namespace

std::string WriterMessage(int writer, int thread, int number) {
  char head[64];
  snprintf(head, sizeof head, "writer %d thread %d record %d ", writer, thread, number);
  const auto filling = static_cast<std::size_t>(number) * 37 % 5000;
  return head + std::string(filling, static_cast<char>('a' + writer * kWriterThreads + thread));
}

Peer::Peer(Role role, int number) {
  const std::string numbers = std::to_string(static_cast<int>(role)) + ' ' + std::to_string(number);
  const std::string events = "trace_log_test." + std::to_string(GetCurrentProcessId()) + '.' + std::to_string(number);
  ready_event_ = PeerEvent(events, ".ready");
  go_event_ = PeerEvent(events, ".go");

  char program[MAX_PATH] = "";
  GetModuleFileNameA(nullptr, program, sizeof program);
  std::string line = '"' + std::string(program) + "\" " + kRoleOption + ' ' + events + ' ' + numbers;
  STARTUPINFOA startup{sizeof startup};
  PROCESS_INFORMATION created{};
  if (!CreateProcessA(program, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &created)) return;
  CloseHandle(created.hThread);
  process_ = created.hProcess;
  const HANDLE either[] = {ready_event_, process_};
  EXPECT_EQ(WaitForMultipleObjects(2, either, FALSE, kPatience), WAIT_OBJECT_0) << "it is not in place";
}

Peer::~Peer() {
  if (process_) {
    TerminateProcess(process_, kFault);
    WaitForSingleObject(process_, kPatience);
    CloseHandle(process_);
  }
  CloseHandle(go_event_);
  CloseHandle(ready_event_);
}

void Peer::Finish() {
  Go();
  DWORD code = kFault;
  EXPECT_EQ(WaitForSingleObject(process_, kPatience), WAIT_OBJECT_0) << "it does not end";
  GetExitCodeProcess(process_, &code);
  EXPECT_EQ(code, 0u);
}

int PlayRole(int argc, char** argv) {
  if (argc != 5 || argv[1] != std::string_view(kRoleOption)) return kNoRole;
  const std::string events = argv[2];
  switch (static_cast<Role>(atoi(argv[3]))) {
    case Role::kHold:
      return HoldLock(events, true);
    case Role::kDie:
      return HoldLock(events, false);
    case Role::kWrite:
      return WriteRecords(events, atoi(argv[4]));
  }
  return kFault;
}

}  // namespace tests
