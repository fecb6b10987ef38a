#include "watchdog.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <cstdio>
#include <cstring>

namespace tests {
namespace {

constexpr UINT kExitCode = 3;
constexpr int kFrames = 24;

// Copied at the start of a test, so that nothing is asked of a program in a bad state.
char current_test[256] = "no test";
std::atomic<unsigned> generation;
HANDLE test_thread;
DWORD limit;  // milliseconds

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
  fprintf(stderr, "%s: exception 0x%lx", current_test, record.ExceptionCode);
  if (record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION) {
    fprintf(stderr, ", %s 0x%llx", record.ExceptionInformation[0] ? "writing" : "reading",
            static_cast<unsigned long long>(record.ExceptionInformation[1]));
  }
  fprintf(stderr, ", at\n");
  PrintStack(*exception->ContextRecord);
  fflush(stderr);
  TerminateProcess(GetCurrentProcess(), kExitCode);
  return EXCEPTION_EXECUTE_HANDLER;
}

DWORD WINAPI Watch(void*) {
  for (unsigned seen = generation;; seen = generation) {
    for (DWORD waited = 0; seen == generation; waited += 100) {
      Sleep(100);
      if (waited < limit) continue;
      fprintf(stderr, "%s: stalled for %lu ms, at\n", current_test, waited);
      fflush(stderr);
      SuspendThread(test_thread);
      CONTEXT context{};
      context.ContextFlags = CONTEXT_FULL;
      if (GetThreadContext(test_thread, &context)) PrintStack(context);
      fflush(stderr);
      TerminateProcess(GetCurrentProcess(), kExitCode);
    }
  }
}

class Listener : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo& test) override {
    snprintf(current_test, sizeof current_test, "%s.%s", test.test_suite_name(), test.name());
    ++generation;
  }
};

class Environment : public testing::Environment {
 public:
  void SetUp() override {
    DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &test_thread, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
    SetUnhandledExceptionFilter(OnCrash);
    CloseHandle(CreateThread(nullptr, 0, Watch, nullptr, 0, nullptr));
  }
};

}  // namespace

void StartWatchdog(unsigned seconds) {
  limit = seconds * 1000;
  testing::UnitTest::GetInstance()->listeners().Append(new Listener);
  testing::AddGlobalTestEnvironment(new Environment);
}

}  // namespace tests
