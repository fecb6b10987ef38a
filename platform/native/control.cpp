// Counting, hooks, faults, time and Reset.
#include "native/state.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <ostream>
#include <utility>

namespace platform {
namespace {

constexpr std::size_t kCallCount = static_cast<std::size_t>(Call::kCount);

struct CallInfo {
  const char* name;
  bool can_fail;
};

constexpr std::array<CallInfo, kCallCount> kCalls = {{
#define PLATFORM_CALL_INFO(name, can_fail) {#name, can_fail},
    PLATFORM_CALLS(PLATFORM_CALL_INFO)
#undef PLATFORM_CALL_INFO
}};

constexpr std::size_t kAnyCall = kCallCount;
constexpr std::size_t kNoCall = kCallCount + 1;

struct Fault {
  std::size_t call = kAnyCall;
  std::uint64_t nth = 1;
  DWORD code = 0;
  bool persistent = false;
  std::uint64_t seen = 0;
};

using Hook = std::function<void(const char*)>;

// The flags tell whether there is anything to do under the lock; a call without faults or hook takes none here.
std::array<std::atomic<std::uint64_t>, kCallCount> counts;
std::atomic<std::uint64_t> nanoseconds;
std::atomic<std::uint64_t> faults_injected;
std::atomic<std::uint64_t> bad_releases;
std::atomic<bool> measuring;
std::atomic<bool> faults_armed;
std::atomic<std::size_t> hooked = kNoCall;
std::mutex control_mutex;
std::vector<Fault> faults;
std::shared_ptr<const Hook> hook;

// Set while the hook runs on this thread.
thread_local constinit bool quiet = false;

bool IsHooked(std::size_t call) {
  const std::size_t which = hooked.load(std::memory_order_acquire);
  return which == call || which == kAnyCall;
}

std::size_t FindCall(const char* name) {
  for (std::size_t i = 0; i < kCallCount; ++i) {
    if (std::strcmp(kCalls[i].name, name) == 0) return i;
  }
  ReportMisuse("the layer has no call named", name);
}

void RunHook(const char* name) {
  std::shared_ptr<const Hook> current;
  {
    std::lock_guard lock(control_mutex);
    current = hook;
  }
  if (!current) return;
  quiet = true;
  (*current)(name);
  quiet = false;
}

// Whether a fault strikes this call; all of them count it.
std::optional<DWORD> Strike(std::size_t call) {
  if (!kCalls[call].can_fail) return std::nullopt;
  std::lock_guard lock(control_mutex);
  std::optional<DWORD> code;
  for (Fault& fault : faults) {
    if (fault.call != kAnyCall && fault.call != call) continue;
    ++fault.seen;
    if (fault.seen == fault.nth || (fault.persistent && fault.seen > fault.nth)) code = fault.code;
  }
  if (code) ++faults_injected;
  return code;
}

}  // namespace

bool InHook() {
  return quiet;
}

CallScope::CallScope(Call call) {
  if (quiet) return;
  const auto index = static_cast<std::size_t>(call);
  counts[index].fetch_add(1, std::memory_order_relaxed);
  if (measuring.load(std::memory_order_relaxed)) {
    timed_ = true;
    start_ = std::chrono::steady_clock::now();
  }
  if (IsHooked(index)) RunHook(kCalls[index].name);
  if (!faults_armed.load(std::memory_order_acquire)) return;
  if (const auto code = Strike(index)) {
    failed_ = true;
    code_ = *code;
  }
}

CallScope::~CallScope() {
  if (!timed_) return;
  const auto spent = std::chrono::steady_clock::now() - start_;
  nanoseconds.fetch_add(static_cast<std::uint64_t>(std::chrono::nanoseconds(spent).count()), std::memory_order_relaxed);
}

std::mutex& StateMutex() {
  static constinit std::mutex mutex;
  return mutex;
}

HANDLE NewHandle() {
  static std::atomic<std::uintptr_t> next{0x10004};
  return reinterpret_cast<HANDLE>(next.fetch_add(4));
}

void CountBadRelease(HANDLE handle) {
  if (handle) ++bad_releases;
}

void ReportMisuse(const char* what, std::string_view name) {
  std::fprintf(stderr, "platform layer: %s \"%.*s\"\n", what, static_cast<int>(name.size()), name.data());
  std::abort();
}

void Reset() {
  {
    std::lock_guard lock(control_mutex);
    faults.clear();
    hook.reset();
    faults_armed = false;
    hooked = kNoCall;
  }
  measuring = false;
  ResetRuntimeHeap();
  ResetFiles();
  ResetSpooler();
  ResetProfiles();
  ResetMutexes();
  ResetHeaps();
  ResetIdentity();
  ResetProcess();
  for (auto& count : counts) count = 0;
  nanoseconds = 0;
  faults_injected = 0;
  bad_releases = 0;
}

void FailCall(const char* name, std::uint64_t nth, DWORD code, bool persistent) {
  const std::size_t call = name ? FindCall(name) : kAnyCall;
  if (call != kAnyCall && !kCalls[call].can_fail) ReportMisuse("this call cannot fail:", name);
  if (nth == 0) ReportMisuse("calls to fail are counted from 1:", name ? name : "any");
  std::lock_guard lock(control_mutex);
  faults.push_back({call, nth, code, persistent});
  faults_armed = true;
}

void DisarmFaults() {
  std::lock_guard lock(control_mutex);
  faults.clear();
  faults_armed = false;
}

std::uint64_t FaultsInjected() {
  return faults_injected;
}

std::uint64_t Calls(const char* name) {
  return counts[FindCall(name)];
}

std::uint64_t TotalCalls() {
  std::uint64_t total = 0;
  for (const auto& count : counts) total += count;
  return total;
}

void SetCallHook(std::function<void(const char* name)> new_hook, const char* only) {
  const std::size_t call = only ? FindCall(only) : kAnyCall;
  std::lock_guard lock(control_mutex);
  hook = new_hook ? std::make_shared<const Hook>(std::move(new_hook)) : nullptr;
  hooked = hook ? call : kNoCall;
}

void MeasureTime(bool on) {
  measuring = on;
}

std::uint64_t TimeInLayer() {
  return nanoseconds;
}

Balance LiveBalance() {
  Balance balance;
  AddFiles(balance);
  AddHeaps(balance);
  AddIdentity(balance);
  AddMutexes(balance);
  AddRuntimeHeap(balance);
  AddSpooler(balance);
  balance.bad_releases = static_cast<std::int64_t>(bad_releases.load());
  return balance;
}

std::ostream& operator<<(std::ostream& out, const Balance& balance) {
  return out << "printers " << balance.printers << ", heaps " << balance.heaps << ", global blocks "
             << balance.global_blocks << ", runtime blocks " << balance.runtime_blocks << ", mutex handles "
             << balance.mutex_handles << ", files " << balance.files << ", tokens " << balance.tokens
             << ", bad releases " << balance.bad_releases;
}

}  // namespace platform
