// Private heaps and global memory. Every block is one of the machine's own, of exactly the size asked, so that a
// sanitizer sees each byte beyond it and each use after its heap is gone.
#include "native/state.h"

#include <new>
#include <unordered_map>
#include <unordered_set>

namespace platform {
namespace {

using BlockSet = std::unordered_set<void*>;

std::unordered_map<HANDLE, BlockSet> heaps;
std::unordered_map<void*, std::size_t> global_blocks;

// From operator new, so that the module's freeing one with free() is reported.
void* NewBlock(std::size_t size, bool zeroed) {
  void* block = size <= kLargestBlock ? ::operator new(size, std::nothrow) : nullptr;
  if (block) std::memset(block, zeroed ? 0 : kPoison, size);
  return block;
}

void FreeBlocks(const BlockSet& blocks) {
  for (void* block : blocks) ::operator delete(block);
}

BlockSet& FindHeap(HANDLE heap, const char* caller) {
  const auto found = heaps.find(heap);
  if (found == heaps.end()) ReportMisuse("a heap that does not exist was given to", caller);
  return found->second;
}

}  // namespace

void ResetHeaps() {
  std::lock_guard lock(StateMutex());
  for (const auto& heap : heaps) FreeBlocks(heap.second);
  heaps.clear();
  for (const auto& block : global_blocks) ::operator delete(block.first);
  global_blocks.clear();
}

void AddHeaps(Balance& balance) {
  std::lock_guard lock(StateMutex());
  balance.heaps += static_cast<std::int64_t>(heaps.size());
  balance.global_blocks += static_cast<std::int64_t>(global_blocks.size());
}

}  // namespace platform

using platform::Call;
using platform::CallScope;

extern "C" {

HANDLE WINAPI HeapCreate(DWORD, SIZE_T, SIZE_T) {
  CallScope call(Call::kHeapCreate);
  if (call.failed()) return call.Fail<HANDLE>(nullptr);
  std::lock_guard lock(platform::StateMutex());
  return platform::heaps.try_emplace(platform::NewHandle()).first->first;
}

LPVOID WINAPI HeapAlloc(HANDLE heap, DWORD flags, SIZE_T size) {
  CallScope call(Call::kHeapAlloc);
  if (call.failed()) return call.Fail<LPVOID>(nullptr);
  std::lock_guard lock(platform::StateMutex());
  auto& blocks = platform::FindHeap(heap, "HeapAlloc");
  void* block = platform::NewBlock(size, flags & HEAP_ZERO_MEMORY);
  if (!block) return platform::FailWith<LPVOID>(ERROR_NOT_ENOUGH_MEMORY, nullptr);
  blocks.insert(block);
  return block;
}

BOOL WINAPI HeapFree(HANDLE heap, DWORD, LPVOID block) {
  CallScope call(Call::kHeapFree);
  if (block) {
    std::lock_guard lock(platform::StateMutex());
    if (platform::FindHeap(heap, "HeapFree").erase(block) == 0) {
      platform::ReportMisuse("a block of another heap, or none, was given to", "HeapFree");
    }
    ::operator delete(block);
  }
  return call.failed() ? call.Fail(FALSE) : TRUE;
}

BOOL WINAPI HeapDestroy(HANDLE heap) {
  CallScope call(Call::kHeapDestroy);
  std::lock_guard lock(platform::StateMutex());
  platform::FreeBlocks(platform::FindHeap(heap, "HeapDestroy"));
  platform::heaps.erase(heap);
  return call.failed() ? call.Fail(FALSE) : TRUE;
}

HGLOBAL WINAPI GlobalAlloc(UINT flags, SIZE_T size) {
  CallScope call(Call::kGlobalAlloc);
  if (call.failed()) return call.Fail<HGLOBAL>(nullptr);
  // A movable block's handle is no address; nothing here uses one.
  if (flags & GMEM_MOVEABLE) return platform::FailWith<HGLOBAL>(ERROR_INVALID_PARAMETER, nullptr);
  std::lock_guard lock(platform::StateMutex());
  void* block = platform::NewBlock(size, flags & GMEM_ZEROINIT);
  if (!block) return platform::FailWith<HGLOBAL>(ERROR_NOT_ENOUGH_MEMORY, nullptr);
  platform::global_blocks.emplace(block, size);
  return block;
}

HGLOBAL WINAPI GlobalFree(HGLOBAL block) {
  CallScope call(Call::kGlobalFree);
  if (block) {
    std::lock_guard lock(platform::StateMutex());
    if (platform::global_blocks.erase(block) == 0) {
      platform::CountBadRelease(block);
      return platform::FailWith(ERROR_INVALID_HANDLE, block);
    }
    ::operator delete(block);
  }
  return call.failed() ? call.Fail(block) : nullptr;
}

SIZE_T WINAPI GlobalSize(HGLOBAL block) {
  CallScope call(Call::kGlobalSize);
  if (call.failed()) return call.Fail<SIZE_T>(0);
  std::lock_guard lock(platform::StateMutex());
  const auto found = platform::global_blocks.find(block);
  if (found == platform::global_blocks.end()) return platform::FailWith<SIZE_T>(ERROR_INVALID_HANDLE, 0);
  return found->second;
}

}  // extern "C"
