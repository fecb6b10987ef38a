// Ends the test program that it is linked into when a test stalls or anything crashes: with code 3 and the call stacks
// of its threads, or that of the one that crashed. GoogleTest has said which test.
#include <gtest/gtest.h>
#include <windows.h>

#include <tlhelp32.h>

#include <atomic>
#include <cstdio>
#include <cstring>

namespace tests {
namespace {

constexpr ULONGLONG kLimit = 45000;  // milliseconds

std::atomic<ULONGLONG> deadline;
HANDLE watcher;
HANDLE program_ended;

// Past the files of the C library, whose locks a stalled thread may have.
template <class... Values>
void Print(const char* format, Values... values) {
  char text[MAX_PATH + 64];
  const int length = snprintf(text, sizeof text, format, values...);
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_ERROR_HANDLE), text, static_cast<DWORD>(length), &written, nullptr);
}

void PrintStack(CONTEXT context) {
  constexpr int kFrames = 24;
  for (int frame = 0; frame < kFrames && context.Rip; ++frame) {
    DWORD64 base = 0, establisher = 0;
    auto* const function = RtlLookupFunctionEntry(context.Rip, &base, nullptr);
    // As module and offset, the form that addr2line takes.
    char file[MAX_PATH] = "?";
    if (base) GetModuleFileNameA(reinterpret_cast<HMODULE>(base), file, sizeof file);
    const char* const slash = strrchr(file, '\\');
    Print("    %s+0x%llx\n", slash ? slash + 1 : file, context.Rip - base);
    void* data = nullptr;
    if (function) {
      RtlVirtualUnwind(UNW_FLAG_NHANDLER, base, context.Rip, function, &context, &data, &establisher, nullptr);
    } else if (frame == 0) {
      // A function without unwind data has not moved the stack; only the innermost can be one.
      context.Rip = *reinterpret_cast<DWORD64*>(context.Rsp);
      context.Rsp += sizeof(DWORD64);
    } else {
      return;
    }
  }
}

LONG WINAPI OnCrash(EXCEPTION_POINTERS* exception) {
  const auto& record = *exception->ExceptionRecord;
  // Of an access violation, the second parameter is the address that was touched.
  Print("exception 0x%lx (0x%llx), at\n", record.ExceptionCode,
        record.NumberParameters > 1 ? record.ExceptionInformation[1] : 0);
  PrintStack(*exception->ContextRecord);
  TerminateProcess(GetCurrentProcess(), 3);
  return EXCEPTION_EXECUTE_HANDLER;
}

// Of every thread but this one: the one that waits is seldom the one that stalls.
void PrintStacks() {
  const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 entry{sizeof entry, 0, 0, 0, 0, 0, 0};
  for (BOOL more = Thread32First(all, &entry); more; more = Thread32Next(all, &entry)) {
    if (entry.th32OwnerProcessID != GetCurrentProcessId() || entry.th32ThreadID == GetCurrentThreadId()) continue;
    const HANDLE thread = OpenThread(THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT, FALSE, entry.th32ThreadID);
    CONTEXT context{};
    context.ContextFlags = CONTEXT_FULL;
    SuspendThread(thread);
    const BOOL found = GetThreadContext(thread, &context);
    // It goes on meanwhile: it may hold a lock that printing needs.
    ResumeThread(thread);
    Print("  thread %lx\n", entry.th32ThreadID);
    if (found) PrintStack(context);
  }
}

DWORD WINAPI Watch(void*) {
  deadline = GetTickCount64() + kLimit;
  while (WaitForSingleObject(program_ended, 100) != WAIT_OBJECT_0) {
    if (GetTickCount64() < deadline) continue;
    Print("stalled for %llu ms, at\n", kLimit);
    PrintStacks();
    TerminateProcess(GetCurrentProcess(), 3);
  }
  return 0;
}

class Watchdog : public testing::EmptyTestEventListener {
  void OnTestProgramStart(const testing::UnitTest&) override {
    SetUnhandledExceptionFilter(OnCrash);
    program_ended = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    watcher = CreateThread(nullptr, 0, Watch, nullptr, 0, nullptr);
    // A thread needs the loader's lock to begin, which a stalled test may have.
    while (!deadline) Sleep(1);
  }
  // No thread of ours is left for the platform to end when the program exits.
  void OnTestProgramEnd(const testing::UnitTest&) override {
    SetEvent(program_ended);
    WaitForSingleObject(watcher, INFINITE);
  }
  void OnTestStart(const testing::TestInfo&) override { deadline = GetTickCount64() + kLimit; }
};

const bool registered = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new Watchdog);
  return true;
}();

}  // namespace
}  // namespace tests
