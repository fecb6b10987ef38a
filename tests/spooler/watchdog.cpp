// Ends the test program that it is linked into when a test stalls or anything crashes: with code 3 and the call stacks
// of its threads, or that of the one that crashed. GoogleTest has said which test.
#include <gtest/gtest.h>
#include <windows.h>

#include <tlhelp32.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace tests {
namespace {

constexpr UINT kExitCode = 3;
constexpr DWORD kLimit = 45000;  // milliseconds
constexpr int kFrames = 24;

std::atomic<unsigned> tests_started;
std::atomic<bool> watching;
HANDLE watcher;
HANDLE program_ended;

// Past the files of the C library, whose locks a stalled thread may have.
void Print(const char* format, ...) {
  char text[MAX_PATH + 64];
  va_list values;
  va_start(values, format);
  const int length = vsnprintf(text, sizeof text, format, values);
  va_end(values);
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_ERROR_HANDLE), text, static_cast<DWORD>(length), &written, nullptr);
}

// As module and offset, the form that addr2line takes.
void PrintPlace(DWORD64 address) {
  HMODULE module = nullptr;
  char name[MAX_PATH] = "?";
  const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  if (GetModuleHandleExA(flags, reinterpret_cast<const char*>(address), &module)) {
    GetModuleFileNameA(module, name, sizeof name);
  }
  const char* file = strrchr(name, '\\');
  Print("    %s+0x%llx\n", file ? file + 1 : name, address - reinterpret_cast<DWORD64>(module));
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
  Print("exception 0x%lx (0x%llx), at\n", record.ExceptionCode, static_cast<unsigned long long>(touched));
  PrintStack(*exception->ContextRecord);
  TerminateProcess(GetCurrentProcess(), kExitCode);
  return EXCEPTION_EXECUTE_HANDLER;
}

// The thread goes on meanwhile: it may hold a lock that printing needs.
void PrintStackOf(DWORD id) {
  const HANDLE thread = OpenThread(THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT, FALSE, id);
  CONTEXT context{};
  context.ContextFlags = CONTEXT_FULL;
  SuspendThread(thread);
  const BOOL found = GetThreadContext(thread, &context);
  ResumeThread(thread);
  Print("  thread %lx\n", id);
  if (found) PrintStack(context);
  CloseHandle(thread);
}

// Of every thread but this one: the one that waits is seldom the one that stalls.
void PrintStacks() {
  const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 thread{sizeof thread, 0, 0, 0, 0, 0, 0};
  for (BOOL more = Thread32First(all, &thread); more; more = Thread32Next(all, &thread)) {
    const bool is_ours = thread.th32OwnerProcessID == GetCurrentProcessId();
    if (is_ours && thread.th32ThreadID != GetCurrentThreadId()) PrintStackOf(thread.th32ThreadID);
  }
  CloseHandle(all);
}

DWORD WINAPI Watch(void*) {
  watching = true;
  unsigned seen = tests_started;
  ULONGLONG begun = GetTickCount64();
  while (WaitForSingleObject(program_ended, 100) != WAIT_OBJECT_0) {
    const ULONGLONG now = GetTickCount64();
    if (seen != tests_started) {
      seen = tests_started;
      begun = now;
    }
    if (now - begun < kLimit) continue;
    Print("stalled for %llu ms, at\n", now - begun);
    PrintStacks();
    TerminateProcess(GetCurrentProcess(), kExitCode);
  }
  return 0;
}

class Watchdog : public testing::EmptyTestEventListener {
  void OnTestProgramStart(const testing::UnitTest&) override {
    SetUnhandledExceptionFilter(OnCrash);
    program_ended = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    watcher = CreateThread(nullptr, 0, Watch, nullptr, 0, nullptr);
    // A thread needs the loader's lock to begin, which a stalled test may have.
    while (!watching) Sleep(1);
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
