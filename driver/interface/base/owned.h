// Owners of blocks and handles: each releases what it holds, and leaves the thread's last error as it was.
#pragma once

#include <windows.h>
#include <winspool.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace r5lqz {

// Releasing something must not hide why an operation failed.
class LastErrorKeeper {
 public:
  LastErrorKeeper() : error_(GetLastError()) {}
  ~LastErrorKeeper() { SetLastError(error_); }
  LastErrorKeeper(const LastErrorKeeper&) = delete;
  LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

 private:
  DWORD error_;
};

template <auto release>
struct Releaser {
  template <typename T>
  void operator()(T* held) const {
    const LastErrorKeeper keeper;
    release(held);
  }
};

inline void FreeRuntimeBlock(void* block) {
  std::free(block);
}
inline void FreeGlobalBlock(void* block) {
  GlobalFree(block);
}
inline void CloseOwnedPrinter(void* printer) {
  ClosePrinter(printer);
}
inline void DestroyOwnedHeap(void* heap) {
  HeapDestroy(heap);
}
inline void CloseOwnedHandle(void* handle) {
  CloseHandle(handle);
}
inline void CloseOwnedFile(std::FILE* file) {
  std::fclose(file);
}

// A runtime-heap block (malloc, calloc).
template <typename T>
using RuntimeBlock = std::unique_ptr<T, Releaser<FreeRuntimeBlock>>;

// A GlobalAlloc block.
template <typename T>
using GlobalBlock = std::unique_ptr<T, Releaser<FreeGlobalBlock>>;

// A printer that the module opened itself; handles that callers pass in are never held in one.
using OwnedPrinter = std::unique_ptr<void, Releaser<CloseOwnedPrinter>>;

// A private heap: everything allocated from it goes with it.
using OwnedHeap = std::unique_ptr<void, Releaser<DestroyOwnedHeap>>;

// A kernel handle whose empty value is null; who opens a file turns INVALID_HANDLE_VALUE into it.
using OwnedHandle = std::unique_ptr<void, Releaser<CloseOwnedHandle>>;

// A file of the runtime library.
using OwnedFile = std::unique_ptr<std::FILE, Releaser<CloseOwnedFile>>;

// A copy of a terminated text; none without memory.
inline RuntimeBlock<WCHAR> CopyOfText(const WCHAR* text) {
  std::size_t length = 0;
  while (text[length]) ++length;
  const std::size_t size = (length + 1) * sizeof(WCHAR);
  RuntimeBlock<WCHAR> copy(static_cast<WCHAR*>(std::malloc(size)));
  if (copy) std::memcpy(copy.get(), text, size);
  return copy;
}

}  // namespace r5lqz
