// The one way into the layer: every call opens a CallScope, which counts it, runs the hook and decides whether it
// fails.
#pragma once

#include "native/control.h"

#include <array>
#include <chrono>
#include <mutex>

namespace platform {

// Every call of the layer, and whether it has a failure result.
#define PLATFORM_CALLS(X)               \
  X(GetLastError, false)                \
  X(SetLastError, false)                \
  X(HeapCreate, true)                   \
  X(HeapAlloc, true)                    \
  X(HeapFree, true)                     \
  X(HeapDestroy, true)                  \
  X(GlobalAlloc, true)                  \
  X(GlobalFree, true)                   \
  X(GlobalSize, true)                   \
  X(GetModuleFileNameA, true)           \
  X(CreateMutexA, true)                 \
  X(WaitForSingleObject, true)          \
  X(ReleaseMutex, true)                 \
  X(CloseHandle, true)                  \
  X(GetSystemTime, false)               \
  X(GetTickCount64, false)              \
  X(GetCurrentThreadId, false)          \
  X(MultiByteToWideChar, true)          \
  X(WideCharToMultiByte, true)          \
  X(CompareStringOrdinal, true)         \
  X(GetFileAttributesA, true)           \
  X(CreateFileA, true)                  \
  X(GetFileType, true)                  \
  X(GetFileInformationByHandleEx, true) \
  X(GetFinalPathNameByHandleW, true)    \
  X(ReadFile, true)                     \
  X(WriteFile, true)                    \
  X(SetFileInformationByHandle, true)   \
  X(CharLowerW, false)                  \
  X(OpenPrinterW, true)                 \
  X(ClosePrinter, true)                 \
  X(GetPrinterW, true)                  \
  X(GetPrinterDataW, true)              \
  X(SetPrinterDataW, true)              \
  X(GetPrinterDataExA, true)            \
  X(SetPrinterDataExA, true)            \
  X(EnumPrinterKeyW, true)              \
  X(DeletePrinterKeyW, true)            \
  X(AddFormW, true)                     \
  X(RevertToPrinterSelf, true)          \
  X(ImpersonatePrinterClient, true)     \
  X(EnumColorProfilesW, true)           \
  X(malloc, true)                       \
  X(calloc, true)                       \
  X(realloc, true)                      \
  X(free, false)

enum class Call {
#define PLATFORM_CALL_ID(name, can_fail) k##name,
  PLATFORM_CALLS(PLATFORM_CALL_ID)
#undef PLATFORM_CALL_ID
      kCount
};

// The calling thread's last error.
inline thread_local constinit DWORD last_error = 0;

// Whether this thread is running the hook, whose calls are the test's.
bool InHook();

class CallScope {
 public:
  explicit CallScope(Call call);
  ~CallScope();
  CallScope(const CallScope&) = delete;
  CallScope& operator=(const CallScope&) = delete;

  // Whether the call is to fail, and with which code.
  bool failed() const { return failed_; }
  DWORD code() const { return code_; }

  // The failure result, with the code as last error.
  template <typename Result>
  Result Fail(Result result) const {
    last_error = code_;
    return result;
  }

 private:
  std::chrono::steady_clock::time_point start_;
  bool timed_ = false;
  bool failed_ = false;
  DWORD code_ = 0;
};

// A failure that the layer itself finds.
template <typename Result>
Result FailWith(DWORD code, Result result) {
  last_error = code;
  return result;
}

}  // namespace platform
