#include "diag/trace.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string_view>
#include <utility>

#include "base/module.h"
#include "base/owned.h"
#include "base/plain_file.h"

namespace r5lqz {

// Constant-initialised: nothing runs at load.
constinit std::atomic<DWORD> log_mask{0};

namespace {

using PathText = RuntimeBlock<char>;

constexpr char kFolder[] = "c:\\temp";
constexpr char kLogExtension[] = "txt";
constexpr char kMaskExtension[] = "dat";
constexpr long long kSizeLimit = 104857600;  // 100 MiB
constexpr DWORD kLockWaitMilliseconds = 100;
constexpr ULONGLONG kLockPauseMilliseconds = 10000;
constexpr std::size_t kMaskTextSize = 16;
constexpr std::size_t kUsualRecordSize = 512;
constexpr char kNewestRotated[] = ".1.txt";
constexpr char kOldestNumber = '9';

// As a text file of the platform has it.
#ifdef _WIN32
constexpr std::string_view kLineEnd = "\r\n";
#else
constexpr std::string_view kLineEnd = "\n";
#endif

constexpr const char* kTags[] = {"[Error] ", "[Info]  ", "[Trace] "};

constinit std::atomic<const char*> log_path{nullptr};
constinit std::atomic<const char*> mask_path{nullptr};

// The tick before which no record waits for the lock, because records have waited long enough; 0 when none has. Then
// how many milliseconds that was, and the tick of the last of it. Threads that come between lose a part of a sum.
constinit std::atomic<ULONGLONG> lock_pause_end{0};
constinit std::atomic<ULONGLONG> lock_waited{0};
constinit std::atomic<ULONGLONG> lock_last_wait{0};

void ReplaceExtension(char* path, const char (&extension)[4]) {
  const std::size_t length = std::strlen(path);
  std::memcpy(path + length - 3, extension, 3);
}

// The path kept in `cache`, built on first use. Threads that come first together each build one; the first to publish
// it wins and the others free theirs, so a path that was handed out stays valid for the life of the process.
const char* CachedPath(std::atomic<const char*>& cache, const char (&extension)[4]) {
  if (const char* path = cache.load(std::memory_order_acquire)) return path;
  PathText built(GetLogFilePath());
  if (!built) return nullptr;
  ReplaceExtension(built.get(), extension);
  const char* published = nullptr;
  if (cache.compare_exchange_strong(published, built.get(), std::memory_order_acq_rel)) return built.release();
  return published;
}

PathText CopyText(const char* text, std::size_t extra = 0) {
  const std::size_t length = std::strlen(text);
  PathText copy(static_cast<char*>(std::malloc(length + extra + 1)));
  if (copy) std::memcpy(copy.get(), text, length + 1);
  return copy;
}

// Asked as everything else there: by its path alone the question could be led to another machine.
bool FileExists(const char* path) {
  return OpenPlainFile(path, FILE_READ_ATTRIBUTES).handle != nullptr;
}

// Adds up what was waited within a few seconds; whether that is as much as callers can be kept waiting.
bool HasWaitedEnough(ULONGLONG begin, ULONGLONG end) {
  // Waits of several threads overlap: one may have begun before the last one ended.
  const bool anew = begin >= lock_last_wait.exchange(end, std::memory_order_relaxed) + kLockPauseMilliseconds;
  const ULONGLONG sum = (anew ? 0 : lock_waited.load(std::memory_order_relaxed)) + (end - begin);
  lock_waited.store(sum, std::memory_order_relaxed);
  return sum >= kLockWaitMilliseconds;
}

// Takes the lock if it is free, or becomes free within what a caller can be kept waiting. Whoever knows its name can
// hold it for good, or a little at every record: once as much was waited the process's records only try for a while, so
// that a call of many records is not held up by each.
DWORD AwaitLock(HANDLE mutex) {
  const DWORD tried = WaitForSingleObject(mutex, 0);
  if (tried != WAIT_TIMEOUT) return tried;
  const ULONGLONG begin = GetTickCount64();
  if (begin < lock_pause_end.load(std::memory_order_relaxed)) return WAIT_TIMEOUT;
  const DWORD waited = WaitForSingleObject(mutex, kLockWaitMilliseconds);
  const ULONGLONG end = GetTickCount64();
  if (HasWaitedEnough(begin, end) || waited == WAIT_TIMEOUT) {
    lock_waited.store(0, std::memory_order_relaxed);
    lock_pause_end.store(end + kLockPauseMilliseconds, std::memory_order_relaxed);
  }
  return waited;
}

// The lock that orders the writers of one log file across processes. It is held when `held()`. An abandoned lock is
// given back, but its record is dropped: the writer that died may have left half a line.
class LogLock {
 public:
  explicit LogLock(const char* path) {
    const PathText name = CopyText(path);
    if (!name) return;
    std::replace(name.get(), name.get() + std::strlen(name.get()), '\\', '/');
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    mutex_.reset(CreateMutexA(&inheritable, FALSE, name.get()));
    if (!mutex_) return;
    const DWORD waited = AwaitLock(mutex_.get());
    owned_ = waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED;
    held_ = waited == WAIT_OBJECT_0;
  }
  ~LogLock() {
    if (owned_) ReleaseMutex(mutex_.get());
  }
  LogLock(const LogLock&) = delete;
  LogLock& operator=(const LogLock&) = delete;
  bool held() const { return held_; }

 private:
  OwnedHandle mutex_;
  bool owned_ = false;
  bool held_ = false;
};

PlainFile OpenForAppending(const char* path) {
  PlainFile file = OpenPlainFile(path, FILE_APPEND_DATA);
  if (!file.handle && GetLastError() == ERROR_FILE_NOT_FOUND && CreatePlainFile(path)) {
    file = OpenPlainFile(path, FILE_APPEND_DATA);
  }
  return file;
}

// Makes the current file number 1 of the rotated ones. A rename that fails is let be: the record then goes to whichever
// file the log path names.
void Rotate(const char* path) {
  const PathText newest = CopyText(path, sizeof kNewestRotated);
  if (!newest) return;
  char* const extension = std::strrchr(newest.get(), '.');
  if (!extension) return;
  std::memcpy(extension, kNewestRotated, sizeof kNewestRotated);
  if (FileExists(newest.get())) ShiftLogFile(newest.get());
  RenamePlainFile(path, newest.get());
}

OwnedHandle OpenLogFile(const char* path) {
  PlainFile file = OpenForAppending(path);
  if (!file.handle || file.size <= kSizeLimit) return std::move(file.handle);
  file.handle.reset();
  Rotate(path);
  return OpenForAppending(path).handle;
}

// Time, thread and tag; 0 bytes when they do not fit.
std::size_t FormatHead(std::span<char> text, const SYSTEMTIME& time, DWORD level) {
  const int size =
      std::snprintf(text.data(), text.size(), "[%d-%02d-%02d %02d:%02d:%02d.%03d] [TID: %d] %s", time.wYear,
                    time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond, time.wMilliseconds,
                    static_cast<int>(GetCurrentThreadId()), level < std::size(kTags) ? kTags[level] : "");
  return size > 0 && static_cast<std::size_t>(size) < text.size() ? static_cast<std::size_t>(size) : 0;
}

// Ends the line behind its `size` bytes and writes all of it at once.
void WriteLine(HANDLE file, char* line, std::size_t size) {
  DWORD written = 0;
  size += kLineEnd.copy(line + size, kLineEnd.size());
  WriteFile(file, line, static_cast<DWORD>(size), &written, nullptr);
}

// A record longer than usual is formatted once more, into a block of its own; without memory it is dropped.
void WriteRecord(HANDLE file, const SYSTEMTIME& time, DWORD level, const char* format, std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  std::array<char, kUsualRecordSize> usual;
  const std::size_t head = FormatHead(usual, time, level);
  const int message = std::vsnprintf(usual.data() + head, usual.size() - head, format, arguments);
  const std::size_t size = head + static_cast<std::size_t>(std::max(message, 0));
  if (message >= 0 && size + kLineEnd.size() <= usual.size()) {
    WriteLine(file, usual.data(), size);
  } else if (message >= 0) {
    const RuntimeBlock<char> longer(static_cast<char*>(std::malloc(size + kLineEnd.size())));
    if (longer) {
      std::memcpy(longer.get(), usual.data(), head);
      // What an argument points at may have become shorter meanwhile.
      const int second = std::vsnprintf(longer.get() + head, size - head + 1, format, again);
      WriteLine(file, longer.get(), head + static_cast<std::size_t>(std::clamp(second, 0, message)));
    }
  }
  va_end(again);
}

// The number that the text begins with, after blanks and a sign, in the 32 bits that a mask has; 0 without one.
DWORD ParseMask(std::string_view text) {
  const std::size_t start = std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size());
  text.remove_prefix(start);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  DWORD mask = 0;
  for (const char digit : text) {
    if (digit < '0' || digit > '9') break;
    mask = mask * 10 + static_cast<DWORD>(digit - '0');
  }
  return negative ? 0 - mask : mask;
}

}  // namespace

void LogMessage(DWORD level, const char* format, ...) {
  const LastErrorKeeper keeper;
  SYSTEMTIME time{};
  GetSystemTime(&time);

  const char* const path = CachedPath(log_path, kLogExtension);
  if (!path) return;
  const LogLock lock(path);
  if (!lock.held()) return;
  const OwnedHandle file = OpenLogFile(path);
  if (!file) return;

  std::va_list arguments;
  va_start(arguments, format);
  WriteRecord(file.get(), time, level, format, arguments);
  va_end(arguments);
}

void LoadLogMask() {
  const LastErrorKeeper keeper;
  const char* const path = CachedPath(mask_path, kMaskExtension);
  if (!path) return;
  std::array<char, kMaskTextSize> text;
  DWORD size = 0;
  const PlainFile file = OpenPlainFile(path, FILE_READ_DATA);
  if (!file.handle || !ReadFile(file.handle.get(), text.data(), static_cast<DWORD>(text.size()), &size, nullptr)) {
    size = 0;
  }
  log_mask.store(ParseMask({text.data(), size}), std::memory_order_relaxed);
}

char* GetLogFilePath() {
  std::array<char, MAX_PATH> module_file{};
  SetLastError(ERROR_SUCCESS);
  GetModuleFileNameA(ModuleHandle(), module_file.data(), static_cast<DWORD>(module_file.size()));
  // A name that was cut is not terminated everywhere; the error says so everywhere.
  if (GetLastError() != ERROR_SUCCESS) return nullptr;
  module_file.back() = '\0';

  const char* const name = std::strrchr(module_file.data(), '\\');
  // The extension takes the place of three characters of the name, so it must have them.
  if (!name || std::strlen(name) < 4) return nullptr;

  const std::size_t size = sizeof kFolder + std::strlen(name);
  PathText path(static_cast<char*>(std::malloc(size)));
  if (!path) return nullptr;
  std::snprintf(path.get(), size, "%s%s", kFolder, name);
  ReplaceExtension(path.get(), kLogExtension);
  return path.release();
}

void ShiftLogFile(const char* name) {
  const char* const extension = std::strrchr(name, '.');
  if (!extension || extension == name) return;
  if (extension[-1] == kOldestNumber) {
    DeletePlainFile(name);
    return;
  }
  const PathText next = CopyText(name);
  if (!next) return;
  ++next.get()[extension - name - 1];
  if (FileExists(next.get())) ShiftLogFile(next.get());
  RenamePlainFile(name, next.get());
}

}  // namespace r5lqz
