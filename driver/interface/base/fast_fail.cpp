// What compiled-in checks call when a buffer was overrun, or is about to be: the process ends on the spot, as the
// platform's own checks end it (__fastfail, int 29h). Nothing else is called, as nothing on this stack can be trusted
// any more. The compiler's own library does the same by way of a cryptographic DLL and of code that runs at load; other
// compilers' runtimes bring their own.
#if defined(__MINGW32__)

#include <cstddef>
#include <cstring>

#undef memcpy

namespace {

// The platform's codes: FAST_FAIL_STACK_COOKIE_CHECK_FAILURE, FAST_FAIL_RANGE_CHECK_FAILURE.
constexpr unsigned kStackGuardBroken = 2;
constexpr unsigned kBufferTooSmall = 8;

[[noreturn]] void FailFast(unsigned code) {
  for (;;) asm volatile("int $0x29" : : "c"(code));
}

}  // namespace

// The names are the compiler's and its headers'.
// NOLINTBEGIN(bugprone-reserved-identifier, readability-identifier-naming)
extern "C" {

[[noreturn]] void __stack_chk_fail() {
  FailFast(kStackGuardBroken);
}

void __chk_fail() {
  FailFast(kBufferTooSmall);
}

void* __memcpy_chk(void* to, const void* from, std::size_t size, std::size_t room) {
  if (size > room) FailFast(kBufferTooSmall);
  return std::memcpy(to, from, size);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier, readability-identifier-naming)

#endif
