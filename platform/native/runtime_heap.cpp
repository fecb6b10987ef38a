// malloc, calloc, realloc and free of the program, where they are the module's.
#include "native/state.h"

#include <atomic>
#include <cerrno>
#include <unordered_set>

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
}

namespace platform {
namespace {

// These run before main too: everything they touch until the switch is on needs no construction.
constinit std::atomic<bool> everywhere{false};
constinit std::atomic<std::size_t> live_blocks{0};
thread_local constinit int scopes = 0;

std::unordered_set<void*>& Blocks() {
  static std::unordered_set<void*> blocks;
  return blocks;
}

bool IsModules() {
  return (scopes > 0 || everywhere.load(std::memory_order_relaxed)) && !InHook();
}

void* Follow(void* block) {
  if (!block) return nullptr;
  std::lock_guard lock(StateMutex());
  Blocks().insert(block);
  live_blocks = Blocks().size();
  return block;
}

bool Forget(void* block) {
  if (!block || live_blocks == 0) return false;
  std::lock_guard lock(StateMutex());
  const bool known = Blocks().erase(block) > 0;
  live_blocks = Blocks().size();
  return known;
}

void* OutOfMemory() {
  errno = ENOMEM;
  return nullptr;
}

void* Reallocate(void* block, std::size_t size) {
  if (!IsModules()) return __real_realloc(block, size);
  CallScope call(Call::krealloc);
  if (call.failed() || size > kLargestBlock) return OutOfMemory();
  return __real_realloc(block, size);
}

}  // namespace

ModuleScope::ModuleScope() {
  ++scopes;
}
ModuleScope::~ModuleScope() {
  --scopes;
}

void WatchRuntimeHeap(bool on) {
  everywhere = on;
}

void ResetRuntimeHeap() {
  everywhere = false;
  std::lock_guard lock(StateMutex());
  Blocks().clear();
  live_blocks = 0;
}

void AddRuntimeHeap(Balance& balance) {
  balance.runtime_blocks += static_cast<std::int64_t>(live_blocks.load());
}

}  // namespace platform

extern "C" {

void* __wrap_malloc(std::size_t size) {
  if (!platform::IsModules()) return __real_malloc(size);
  platform::CallScope call(platform::Call::kmalloc);
  if (call.failed() || size > platform::kLargestBlock) return platform::OutOfMemory();
  void* block = __real_malloc(size);
  if (block) std::memset(block, platform::kPoison, size);
  return platform::Follow(block);
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
  if (!platform::IsModules()) return __real_calloc(count, size);
  platform::CallScope call(platform::Call::kcalloc);
  std::size_t total = 0;
  if (call.failed() || __builtin_mul_overflow(count, size, &total) || total > platform::kLargestBlock) {
    return platform::OutOfMemory();
  }
  return platform::Follow(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, std::size_t size) {
  // Forgotten first: once the block has moved, its old address may be another thread's new one.
  const bool followed = platform::Forget(block) || (!block && platform::IsModules());
  void* moved = platform::Reallocate(block, size);
  if (followed) platform::Follow(moved ? moved : block);
  return moved;
}

void __wrap_free(void* block) {
  if (platform::Forget(block)) {
    platform::CallScope call(platform::Call::kfree);
    __real_free(block);
  } else {
    __real_free(block);
  }
}

}  // extern "C"
