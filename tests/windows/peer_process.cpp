#include "peer_process.h"

#include <cstdio>
#include <thread>
#include <vector>

#include "diag/trace.h"
#include "entry/printer_interface.h"
#include "trace_folder.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved);

namespace tests {
namespace {

constexpr DWORD kPatience = 20000;  // milliseconds
constexpr char kRoleOption[] = "--role";
constexpr int kNoRole = -1;
constexpr int kFault = 99;

// What a peer is given on its command line.
struct Call {
  std::string role;
  std::string events;
  int number;
};

HANDLE PeerEvent(const std::string& events, const char* which) {
  return CreateEventA(nullptr, FALSE, FALSE, (events + which).c_str());
}

bool ReportAndWait(const Call& call) {
  SetEvent(PeerEvent(call.events, ".ready"));
  return WaitForSingleObject(PeerEvent(call.events, ".go"), kPatience) == WAIT_OBJECT_0;
}

void AttachModule() {
  DllMain(GetModuleHandleA(nullptr), DLL_PROCESS_ATTACH, nullptr);
}

int HoldLock(const Call& call, bool give_back) {
  const HANDLE lock = CreateMutexA(nullptr, FALSE, kLock);
  if (WaitForSingleObject(lock, kPatience) != WAIT_OBJECT_0 || !ReportAndWait(call)) return kFault;
  if (give_back) ReleaseMutex(lock);
  return 0;
}

int ShowMasks(const Call& call) {
  AttachModule();
  const DWORD at_first = r5lqz::log_mask;
  for (int event = 0; event < 20; ++event) {
    if (event != DOCUMENTEVENT_STARTDOCPRE) DrvDocumentEvent(nullptr, nullptr, event, 0, nullptr, 0, nullptr);
  }
  const DWORD after_others = r5lqz::log_mask;
  DrvDocumentEvent(nullptr, nullptr, DOCUMENTEVENT_STARTDOCPRE, 0, nullptr, 0, nullptr);
  const DWORD after_start = r5lqz::log_mask;
  return ReportAndWait(call) ? static_cast<int>(at_first | after_others << 4 | after_start << 8) : kFault;
}

int WriteRecords(const Call& call) {
  AttachModule();
  if (!ReportAndWait(call)) return kFault;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kWriterThreads; ++thread) {
    threads.emplace_back([&call, thread] {
      for (int number = 0; number < kWriterRecords; ++number) {
        r5lqz::LogMessage(r5lqz::kInfoLevel, "%s", WriterMessage(call.number, thread, number).c_str());
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

Peer::Peer(const std::string& role, int number) {
  const std::string events =
      std::string(kProgram) + '.' + std::to_string(GetCurrentProcessId()) + '.' + role + std::to_string(number);
  ready_event_ = PeerEvent(events, ".ready");
  go_ = PeerEvent(events, ".go");

  char program[MAX_PATH] = "";
  GetModuleFileNameA(nullptr, program, sizeof program);
  std::string line =
      '"' + std::string(program) + "\" " + kRoleOption + ' ' + role + ' ' + events + ' ' + std::to_string(number);
  STARTUPINFOA startup{sizeof startup};
  PROCESS_INFORMATION created{};
  if (!CreateProcessA(program, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &created)) return;
  CloseHandle(created.hThread);
  process_ = created.hProcess;
  const HANDLE either[] = {ready_event_, process_};
  ready_ = WaitForMultipleObjects(2, either, FALSE, kPatience) == WAIT_OBJECT_0;
}

Peer::~Peer() {
  if (process_) {
    TerminateProcess(process_, kFault);
    WaitForSingleObject(process_, kPatience);
    CloseHandle(process_);
  }
  CloseHandle(go_);
  CloseHandle(ready_event_);
}

DWORD Peer::Finish() {
  Go();
  DWORD code = kStalled;
  if (WaitForSingleObject(process_, kPatience) == WAIT_OBJECT_0) GetExitCodeProcess(process_, &code);
  return code;
}

int PlayRole(int argc, char** argv) {
  if (argc != 5 || argv[1] != std::string_view(kRoleOption)) return kNoRole;
  const Call call{argv[2], argv[3], atoi(argv[4])};
  if (call.role == "hold") return HoldLock(call, true);
  if (call.role == "die") return HoldLock(call, false);
  if (call.role == "attach") return ShowMasks(call);
  if (call.role == "write") return WriteRecords(call);
  return kFault;
}

}  // namespace tests
