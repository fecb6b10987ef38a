// Memory that ends where a page without access begins: one byte too far and the program ends there.
#pragma once

#include <windows.h>

#include <cstring>

namespace tests {

/// `size` bytes, filled with `fill`, right before an inaccessible page; what lies before them on their page carries
/// the same fill and can be checked. Addresses are as odd as the size makes them: use memcpy for what is inside.
class GuardedBlock {
 public:
  explicit GuardedBlock(std::size_t size, BYTE fill = 0xA5) : size_(size), fill_(fill) {
    accessible_ = (size + 64 + kPage - 1) / kPage * kPage;
    base_ = static_cast<BYTE*>(VirtualAlloc(nullptr, accessible_ + kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    DWORD previous = 0;
    VirtualProtect(base_ + accessible_, kPage, PAGE_NOACCESS, &previous);
    memset(base_, fill, accessible_);
  }
  GuardedBlock(const void* content, std::size_t size) : GuardedBlock(size) { memcpy(data(), content, size); }
  GuardedBlock(const GuardedBlock&) = delete;
  GuardedBlock& operator=(const GuardedBlock&) = delete;
  ~GuardedBlock() { VirtualFree(base_, 0, MEM_RELEASE); }

  BYTE* data() { return base_ + accessible_ - size_; }
  template <class T>
  T* As() {
    return reinterpret_cast<T*>(data());
  }
  template <class T>
  T Read(std::size_t offset = 0) {
    T value;
    memcpy(&value, data() + offset, sizeof value);
    return value;
  }
  std::size_t size() const { return size_; }

  /// No byte before the block was written.
  bool FrontIntact() { return Holds(base_, data()); }
  /// No byte of the block from `offset` on, or before it, was written.
  bool Untouched(std::size_t offset = 0) { return Holds(data() + offset, data() + size_) && FrontIntact(); }

 private:
  bool Holds(const BYTE* from, const BYTE* to) const {
    for (; from < to; ++from) {
      if (*from != fill_) return false;
    }
    return true;
  }

  static constexpr std::size_t kPage = 4096;
  std::size_t size_;
  std::size_t accessible_;
  BYTE fill_;
  BYTE* base_;
};

}  // namespace tests
