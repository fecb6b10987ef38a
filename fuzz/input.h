// What the fuzz targets share: the input taken apart, heap copies of exact size, and requirements on what came out.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <type_traits>

#include "native/control.h"

namespace fuzz {

// Ends the program, which the fuzzer takes as a finding.
[[noreturn]] inline void Fail(const char* file, int line, const char* what) {
  std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, what);
  std::abort();
}

#define REQUIRE(condition) ((condition) ? (void)0 : ::fuzz::Fail(__FILE__, __LINE__, #condition))

// The input from front to back. An input that ends early reads as zeros: every input is a valid one.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : left_(std::as_bytes(std::span(data, size))) {}

  template <typename Number>
  Number Take() {
    Number number{};
    const auto bytes = TakeBytes(sizeof number);
    if (!bytes.empty()) std::memcpy(&number, bytes.data(), bytes.size());
    return number;
  }
  // As many bytes as asked for, or what is left.
  std::span<const std::byte> TakeBytes(std::size_t most) {
    const auto taken = left_.first(std::min(most, left_.size()));
    left_ = left_.subspan(taken.size());
    return taken;
  }
  std::span<const std::byte> TakeRest() { return TakeBytes(left_.size()); }
  bool empty() const { return left_.empty(); }

 private:
  std::span<const std::byte> left_;
};

// By memcmp: the sanitizers make a loop over the bytes slow.
inline bool Same(std::span<const std::byte> left, std::span<const std::byte> right) {
  return left.size() == right.size() && (left.empty() || std::memcmp(left.data(), right.data(), left.size()) == 0);
}

// A heap block of exactly `size` bytes, so that the sanitizer sees the first byte beyond it. What `content` does not
// fill is `filler`.
class Block {
 public:
  Block(std::size_t size, std::span<const std::byte> content, std::byte filler = std::byte{0})
      : bytes_(new std::byte[size]), size_(size) {
    const std::size_t copied = std::min(content.size(), size);
    if (copied > 0) std::memcpy(bytes_.get(), content.data(), copied);
    if (copied < size) std::memset(bytes_.get() + copied, std::to_integer<int>(filler), size - copied);
  }
  explicit Block(std::span<const std::byte> content) : Block(content.size(), content) {}

  template <typename T>
  T* As() const {
    return reinterpret_cast<T*>(bytes_.get());
  }
  std::size_t size() const { return size_; }
  std::span<const std::byte> bytes() const { return {bytes_.get(), size_}; }
  bool Holds(std::span<const std::byte> other) const { return Same(bytes(), other); }

 private:
  std::unique_ptr<std::byte[]> bytes_;
  std::size_t size_;
};

// Runs what the module does: its blocks hold no zeros by chance, and nothing that it opened or took stays behind.
template <typename Drive>
void AsModule(Drive drive) {
  const platform::Balance before = platform::LiveBalance();
  {
    const platform::ModuleScope scope;
    drive();
  }
  REQUIRE(platform::LiveBalance() == before);
}

// The one printer of the in-memory spooler, with a handle of the target's own.
inline constexpr char kPrinterName[] = "Printer";
inline HANDLE AddPrinter() {
  platform::AddPrinter(kPrinterName, "Driver");
  return platform::OpenTestPrinter(kPrinterName);
}

}  // namespace fuzz
