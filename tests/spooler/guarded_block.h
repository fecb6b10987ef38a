// Memory that ends where a page without access begins: one byte too far and the program ends there.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstring>

namespace tests {

/// `size` bytes of poison right before an inaccessible page. Addresses are as odd as the size makes them: use memcpy
/// for what is inside.
class GuardedBlock {
 public:
  explicit GuardedBlock(std::size_t size) {
    constexpr std::size_t kPage = 4096;
    const std::size_t accessible = (size + kPage - 1) / kPage * kPage;
    base_ = static_cast<BYTE*>(VirtualAlloc(nullptr, accessible + kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    end_ = base_ + accessible;
    DWORD previous = 0;
    VirtualProtect(end_, kPage, PAGE_NOACCESS, &previous);
    memset(base_, kPoison, accessible);
    data_ = end_ - size;
  }
  GuardedBlock(const GuardedBlock&) = delete;
  GuardedBlock& operator=(const GuardedBlock&) = delete;
  ~GuardedBlock() { VirtualFree(base_, 0, MEM_RELEASE); }

  BYTE* data() { return data_; }
  template <class T>
  T* As() {
    return reinterpret_cast<T*>(data_);
  }
  template <class T>
  T Read(std::size_t offset = 0) const {
    T value;
    memcpy(&value, data_ + offset, sizeof value);
    return value;
  }

  /// No byte of it, nor before it on its page, was written.
  bool Untouched() const {
    return std::all_of(base_, end_, [](BYTE byte) { return byte == kPoison; });
  }

 private:
  static constexpr BYTE kPoison = 0xA5;

  BYTE* base_;
  BYTE* data_;
  BYTE* end_;
};

}  // namespace tests
