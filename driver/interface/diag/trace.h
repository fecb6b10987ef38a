// The trace log: one plain text file that every process with the module in it writes to, switched by a mask file beside
// it.
#pragma once

#include <windows.h>

#include <atomic>

#include "base/bounded_text.h"
#include "base/result_codes.h"

namespace r5lqz {

// Levels of a record.
inline constexpr DWORD kErrorLevel = 0;
inline constexpr DWORD kInfoLevel = 1;
inline constexpr DWORD kTraceLevel = 2;

// Bits of the log mask: one for errors and information, one for entry, exit and result records.
inline constexpr DWORD kMessageBit = 1;
inline constexpr DWORD kTraceBit = 2;

// What is traced in this process: 0 until LoadLogMask. A relaxed atomic, so that the test of it is a plain load; a
// thread that sees a change late only traces a little more or less.
extern std::atomic<DWORD> log_mask;

inline bool Logs(DWORD bit) {
  return (log_mask.load(std::memory_order_relaxed) & bit) != 0;
}

#if defined(__GNUC__)
#define R5LQZ_PRINTF(text, first) __attribute__((format(printf, text, first), cold))
#else
#define R5LQZ_PRINTF(text, first)
#endif

// Appends one record to the log file: UTC time, thread, the level's tag, the message in printf's format. Callers test
// the log mask first; this does not. A record that cannot be written (no folder, no memory for a long one, lock not had
// within 100 ms) is dropped without a sign. After a wait for the lock in vain the process's records do not wait, for
// ten seconds. A log file that is a link, or leads elsewhere in another way, is not written (base/plain_file.h). The
// thread's last error is as it was.
void LogMessage(DWORD level, const char* format, ...) R5LQZ_PRINTF(2, 3);

// Reads the log mask from the mask file (one decimal integer within its first 16 bytes); a missing file, one that
// begins with none, or what is no plain file, turns tracing off.
void LoadLogMask();

// The log file's path, from the module's own file name: a new runtime-heap text that the caller frees, or none.
char* GetLogFilePath();

// Moves the rotated file `name` one number up, and those above it first; number 9 is deleted. What is no plain file
// stays.
void ShiftLogFile(const char* name);

// The only way to write a record from code: the mask is tested before any argument is evaluated, which is why these are
// macros.
#define LOG_ERROR(...) \
  (::r5lqz::Logs(::r5lqz::kMessageBit) ? ::r5lqz::LogMessage(::r5lqz::kErrorLevel, __VA_ARGS__) : (void)0)
#define LOG_INFO(...) \
  (::r5lqz::Logs(::r5lqz::kMessageBit) ? ::r5lqz::LogMessage(::r5lqz::kInfoLevel, __VA_ARGS__) : (void)0)
#define LOG_TRACE(...) \
  (::r5lqz::Logs(::r5lqz::kTraceBit) ? ::r5lqz::LogMessage(::r5lqz::kTraceLevel, __VA_ARGS__) : (void)0)

// An operation's entry and exit records, and the record of its result.
class TraceScope {
 public:
  explicit TraceScope(const char* operation) : operation_(operation) { LOG_TRACE("<%s>", operation_); }
  ~TraceScope() { LOG_TRACE("</%s>", operation_); }
  TraceScope(const TraceScope&) = delete;
  TraceScope& operator=(const TraceScope&) = delete;

  BOOL ReturnBool(BOOL result) const {
    LOG_TRACE("Return: %s", result ? "TRUE" : "FALSE");
    return result;
  }
  ResultCode ReturnCode(ResultCode result) const {
    LOG_TRACE("Return: 0x%x", static_cast<unsigned>(result));
    return result;
  }
  LONG ReturnCount(LONG result) const {
    LOG_TRACE("Return: %ld", static_cast<long>(result));
    return result;
  }

 private:
  const char* operation_;
};

}  // namespace r5lqz
