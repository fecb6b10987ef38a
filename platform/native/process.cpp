// Last error, thread, clock and the module's file name.
#include "native/state.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>

namespace platform {
namespace {

// What GetSystemTime answers: 2024-03-05 07:08:09.012.
constexpr SYSTEMTIME kClock = {2024, 3, 2, 5, 7, 8, 9, 12};
constexpr std::string_view kDefaultModule = "C:\\WINDOWS\\system32\\spool\\drivers\\x64\\3\\r5-lqz-ui.dll";

std::string module_name{kDefaultModule};
std::atomic<ULONGLONG> tick_count{0};

}  // namespace

void ResetProcess() {
  SetModuleFileName(kDefaultModule);
  tick_count = 0;
}

void SetTickCount(ULONGLONG milliseconds) {
  tick_count = milliseconds;
}

void SetModuleFileName(std::string_view name) {
  std::lock_guard lock(StateMutex());
  module_name = name;
}

}  // namespace platform

using platform::Call;
using platform::CallScope;

extern "C" {

DWORD WINAPI GetLastError() {
  CallScope call(Call::kGetLastError);
  return platform::last_error;
}

void WINAPI SetLastError(DWORD code) {
  CallScope call(Call::kSetLastError);
  platform::last_error = code;
}

DWORD WINAPI GetCurrentThreadId() {
  CallScope call(Call::kGetCurrentThreadId);
  thread_local const auto id = static_cast<DWORD>(syscall(SYS_gettid));
  return id;
}

void WINAPI GetSystemTime(SYSTEMTIME* time) {
  CallScope call(Call::kGetSystemTime);
  *time = platform::kClock;
}

ULONGLONG WINAPI GetTickCount64() {
  CallScope call(Call::kGetTickCount64);
  return platform::tick_count;
}

DWORD WINAPI GetModuleFileNameA(HMODULE, LPSTR buffer, DWORD size) {
  CallScope call(Call::kGetModuleFileNameA);
  if (call.failed()) return call.Fail(0u);
  std::lock_guard lock(platform::StateMutex());
  const std::string& name = platform::module_name;
  if (name.size() < size) {
    std::memcpy(buffer, name.c_str(), name.size() + 1);
    return static_cast<DWORD>(name.size());
  }
  // What fits is given, cut but terminated.
  if (size > 0) {
    std::memcpy(buffer, name.data(), size - 1);
    buffer[size - 1] = '\0';
  }
  return platform::FailWith(ERROR_INSUFFICIENT_BUFFER, size);
}

}  // extern "C"
