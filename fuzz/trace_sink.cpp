// Stands in for the module's log writer: formats each record, so that what its arguments point at is read as the log
// would read it. The linker puts it in the writer's place, hence the name.
#include <cstdarg>

#include "input.h"

// Every block is freed within its input: neither a long memory for freed ones nor the way to each allocation is worth
// what they cost, and what outlives its function the tests find. ASAN_OPTIONS=malloc_context_size=30 shows the way when
// a finding is looked at.
// NOLINTNEXTLINE(bugprone-reserved-identifier, readability-identifier-naming): the name is the sanitizer's.
extern "C" const char* __asan_default_options() {
  return "malloc_context_size=1:quarantine_size_mb=1:detect_stack_use_after_return=0";
}

extern "C" void __wrap__ZN5r5lqz10LogMessageEjPKcz(DWORD level, const char* format, ...) {
  char line[2048];
  std::va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  REQUIRE(level <= 2);
  REQUIRE(length >= 0 && static_cast<std::size_t>(length) < sizeof line);
}
