// Ends the test program that it is linked into when a test stalls or anything crashes: with code 3 and the call stack
// of the thread that runs the tests, or of the one that crashed. GoogleTest has said which test.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <cstdio>
#include <cstring>

namespace tests {
namespace {

constexpr UINT kExitCode = 3;
constexpr DWORD kLimit = 45000;  // milliseconds
constexpr int kFrames = 24;

std::atomic<unsigned> tests_started;
HANDLE test_thread;
HANDLE watcher;
HANDLE program_ended;

// As module and offset, the form that addr2line takes.
void PrintPlace(DWORD64 address) {
  HMODULE module = nullptr;
  char name[MAX_PATH] = "?";
  const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  if (GetModuleHandleExA(flags, reinterpret_cast<const char*>(address), &module)) {
    GetModuleFileNameA(module, name, sizeof name);
  }
  const char* file = strrchr(name, '\\');
  fprintf(stderr, "    %s+0x%llx\n", file ? file + 1 : name, address - reinterpret_cast<DWORD64>(module));
}

void PrintStack(CONTEXT context) {
  for (int frame = 0; frame < kFrames && context.Rip; ++frame) {
    PrintPlace(context.Rip);
    DWORD64 base = 0;
    auto* function = RtlLookupFunctionEntry(context.Rip, &base, nullptr);
    if (!function) {
      // A function without unwind data has not moved the stack; only the innermost can be one.
      if (frame) return;
      context.Rip = *reinterpret_cast<DWORD64*>(context.Rsp);
      context.Rsp += sizeof(DWORD64);
      continue;
    }
    void* data = nullptr;
    DWORD64 establisher = 0;
    RtlVirtualUnwind(UNW_FLAG_NHANDLER, base, context.Rip, function, &context, &data, &establisher, nullptr);
  }
}

LONG WINAPI OnCrash(EXCEPTION_POINTERS* exception) {
  const auto& record = *exception->ExceptionRecord;
  // Of an access violation, the second parameter is the address that was touched.
  const auto touched = record.NumberParameters > 1 ? record.ExceptionInformation[1] : 0;
  fprintf(stderr, "exception 0x%lx (0x%llx), at\n", record.ExceptionCode, static_cast<unsigned long long>(touched));
  PrintStack(*exception->ContextRecord);
  TerminateProcess(GetCurrentProcess(), kExitCode);
  return EXCEPTION_EXECUTE_HANDLER;
}

DWORD WINAPI Watch(void*) {
  for (unsigned seen = tests_started;; seen = tests_started) {
    for (DWORD waited = 0; seen == tests_started; waited += 100) {
      if (WaitForSingleObject(program_ended, 100) == WAIT_OBJECT_0) return 0;
      if (waited < kLimit) continue;
      fprintf(stderr, "stalled for %lu ms, at\n", waited);
      SuspendThread(test_thread);
      CONTEXT context{};
      context.ContextFlags = CONTEXT_FULL;
      if (GetThreadContext(test_thread, &context)) PrintStack(context);
      TerminateProcess(GetCurrentProcess(), kExitCode);
    }
  }
}

class Watchdog : public testing::EmptyTestEventListener {
  void OnTestProgramStart(const testing::UnitTest&) override {
    const HANDLE self = GetCurrentProcess();
    DuplicateHandle(self, GetCurrentThread(), self, &test_thread, 0, FALSE, DUPLICATE_SAME_ACCESS);
    SetUnhandledExceptionFilter(OnCrash);
    program_ended = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    watcher = CreateThread(nullptr, 0, Watch, nullptr, 0, nullptr);
  }
  // No thread of ours is left for the platform to end when the program exits.
  void OnTestProgramEnd(const testing::UnitTest&) override {
    SetEvent(program_ended);
    WaitForSingleObject(watcher, INFINITE);
  }
  void OnTestStart(const testing::TestInfo&) override { ++tests_started; }
};

const bool registered = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new Watchdog);
  return true;
}();

}  // namespace
}  // namespace tests
