// The same work with and without trace records, for counting instructions: trace_cost WORK TIMES.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "diag/trace.h"
#include "base/printer_interface.h"
#include "settings/conversion.h"

#include "native/control.h"

namespace {

using namespace r5lqz;

// What an optimiser knows nothing about.
[[gnu::noinline]] DWORD Work(DWORD value) {
  asm volatile("" : "+r"(value));
  return value;
}

}  // namespace

// With names that a disassembly shows.
extern "C" {

[[gnu::noinline]] DWORD PlainOperation(DWORD value) {
  return Work(value) + 1;
}

// Entry, one error, result and exit: four would-be records.
[[gnu::noinline]] DWORD TracedOperation(DWORD value) {
  const TraceScope trace("TracedOperation");
  const DWORD code = Work(value);
  LOG_ERROR("Could not find label list in registry: 0x%x", static_cast<unsigned>(code));
  return trace.ReturnCode(code + 1);
}
}

namespace {

void Repeat(DWORD (*operation)(DWORD), long times) {
  DWORD value = 0;
  for (long at = 0; at < times; ++at) value = operation(value);
  asm volatile("" : : "r"(value));
}

// A whole call of an application, in which some dozens of operations would trace.
void CallDocumentProperties(long times) {
  platform::AddPrinter("Labels", "Brindlewick R5-LQZ");
  DriverDevMode out{};
  DOCUMENTPROPERTYHEADER header{};
  header.hPrinter = platform::OpenTestPrinter("Labels");
  DriverDevMode in;
  SetupDefaultDevMode(in, nullptr, header.hPrinter);
  header.pdmIn = &in.dm_public;
  header.pdmOut = &out.dm_public;
  header.fMode = DM_IN_BUFFER | DM_OUT_BUFFER;
  for (long at = 0; at < times; ++at) {
    if (DrvDocumentPropertySheets(nullptr, reinterpret_cast<LPARAM>(&header)) != 1) std::abort();
  }
}

}  // namespace

int main(int count, char** arguments) {
  const char* const work = count == 3 ? arguments[1] : "";
  const long times = count == 3 ? std::atol(arguments[2]) : 0;
  if (std::strcmp(work, "plain") == 0) {
    Repeat(PlainOperation, times);
  } else if (std::strcmp(work, "traced") == 0) {
    Repeat(TracedOperation, times);
  } else if (std::strcmp(work, "document-properties") == 0) {
    CallDocumentProperties(times);
  } else {
    std::fprintf(stderr, "use: trace_cost plain|traced|document-properties TIMES\n");
    return 2;
  }
  return 0;
}
