#include "diag/trace.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "diag/owned.h"
#include "entry/module.h"

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
constexpr char kNewestRotated[] = ".1.txt";
constexpr char kOldestNumber = '9';

constexpr const char* kTags[] = {"[Error] ", "[Info]  ", "[Trace] "};

constinit std::atomic<const char*> log_path{nullptr};
constinit std::atomic<const char*> mask_path{nullptr};

void ReplaceExtension(char* path, const char (&extension)[4]) {
  const std::size_t length = std::strlen(path);
  std::memcpy(path + length - 3, extension, 3);
}

// The path kept in `cache`, built on first use. Threads that come first together each build one; the first to publish it
// wins and the others free theirs, so a path that was handed out stays valid for the life of the process.
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

bool FileExists(const char* path) {
  return GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES;
}

// The lock that orders the writers of one log file across processes. It is held when `held()`; a record waits for it no
// longer than a caller can be kept waiting. An abandoned lock is given back, but its record is dropped: the writer that
// died may have left half a line.
class LogLock {
 public:
  explicit LogLock(const char* path) {
    const PathText name = CopyText(path);
    if (!name) return;
    std::replace(name.get(), name.get() + std::strlen(name.get()), '\\', '/');
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    mutex_.reset(CreateMutexA(&inheritable, FALSE, name.get()));
    if (!mutex_) return;
    const DWORD waited = WaitForSingleObject(mutex_.get(), kLockWaitMilliseconds);
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

OwnedFile OpenForAppending(const char* path) {
  return OwnedFile(std::fopen(path, "a"));
}

bool IsOverLimit(std::FILE* file) {
  return _fseeki64(file, 0, SEEK_END) == 0 && _ftelli64(file) > kSizeLimit;
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
  std::rename(path, newest.get());
}

OwnedFile OpenLogFile(const char* path) {
  OwnedFile file = OpenForAppending(path);
  if (!file || !IsOverLimit(file.get())) return file;
  file.reset();
  Rotate(path);
  return OpenForAppending(path);
}

void WriteRecord(std::FILE* file, const SYSTEMTIME& time, DWORD level, const char* format, std::va_list arguments) {
  std::fprintf(file, "[%d-%02d-%02d %02d:%02d:%02d.%03d] [TID: %d] %s", time.wYear, time.wMonth, time.wDay, time.wHour,
               time.wMinute, time.wSecond, time.wMilliseconds, static_cast<int>(GetCurrentThreadId()),
               level < std::size(kTags) ? kTags[level] : "");
  std::vfprintf(file, format, arguments);
  std::fputc('\n', file);
  std::fflush(file);
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
  const OwnedFile file = OpenLogFile(path);
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
  int mask = 0;
  if (const OwnedFile file{std::fopen(path, "r")}; !file || std::fscanf(file.get(), "%d", &mask) != 1) mask = 0;
  log_mask.store(static_cast<DWORD>(mask), std::memory_order_relaxed);
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
    std::remove(name);
    return;
  }
  const PathText next = CopyText(name);
  if (!next) return;
  ++next.get()[extension - name - 1];
  if (FileExists(next.get())) ShiftLogFile(next.get());
  std::rename(name, next.get());
}

}  // namespace r5lqz
