// Stands in for the module's log writer: formats each record, so that what its arguments point at is read as the log
// would read it, and counts it. The linker puts it in the writer's place, hence the name.
#include <cstdarg>

#include "input.h"

namespace {

std::uint64_t records = 0;

}  // namespace

std::uint64_t fuzz::TracedRecords() {
  return records;
}

extern "C" void __wrap__ZN5r5lqz10LogMessageEjPKcz(DWORD level, const char* format, ...) {
  char line[2048];
  std::va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  REQUIRE(level <= 2);
  REQUIRE(length >= 0 && static_cast<std::size_t>(length) < sizeof line);
  ++records;
}
