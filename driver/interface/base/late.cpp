#include "base/late.h"

namespace r5lqz {
namespace {

struct LateEntry {
  const char* dll;
  const char* function;
  void* volatile address;  // null until the first call
};

#define R5LQZ_LATE_ENTRY(dll, name) {dll, #name, nullptr},
// In a section of its own, where those who watch what the module calls find it beside the import table.
#if defined(_MSC_VER)
#pragma section(".late", read, write)
__declspec(allocate(".late"))
#else
[[gnu::section(".late")]]
#endif
LateEntry late_entries[] = {R5LQZ_LATE_FUNCTIONS(R5LQZ_LATE_ENTRY)};

// Never from the program's folder or the current one, whatever lies there. Not freed: it may be in use anywhere in the
// module, and who loads the module again finds it there.
void* Load(const LateEntry& entry) {
  const HMODULE dll = LoadLibraryExA(entry.dll, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  return dll ? reinterpret_cast<void*>(GetProcAddress(dll, entry.function)) : nullptr;
}

}  // namespace

void* FindLateFunction(LateFunction which) {
  LateEntry& entry = late_entries[static_cast<std::size_t>(which)];
  if (void* const known = entry.address) return known;
  const DWORD error = GetLastError();
  // Two threads that come at once find the same.
  void* const found = Load(entry);
  if (!found) return nullptr;
  entry.address = found;
  SetLastError(error);
  return found;
}

}  // namespace r5lqz
