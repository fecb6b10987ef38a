#include "import_patch.h"

#include <cstring>
#include <span>
#include <utility>

namespace platform {
namespace {

template <class T>
T* At(HMODULE module, DWORD offset) {
  return reinterpret_cast<T*>(reinterpret_cast<BYTE*>(module) + offset);
}

const IMAGE_NT_HEADERS* Headers(HMODULE module) {
  return At<IMAGE_NT_HEADERS>(module, static_cast<DWORD>(At<IMAGE_DOS_HEADER>(module, 0)->e_lfanew));
}

// As the module's table of late functions lies in its section.
struct LateEntry {
  const char* dll;
  const char* function;
  void* address;  // null until the first call
};

std::span<LateEntry> LateEntries(HMODULE module) {
  const auto* headers = Headers(module);
  for (const auto& section : std::span(IMAGE_FIRST_SECTION(headers), headers->FileHeader.NumberOfSections)) {
    if (memcmp(section.Name, ".late\0\0", sizeof section.Name) != 0) continue;
    return {At<LateEntry>(module, section.VirtualAddress), section.Misc.VirtualSize / sizeof(LateEntry)};
  }
  return {};
}

// The place of the pointer that the module itself fills in for `function`, if it does.
void AddLate(HMODULE module, const char* dll, const char* function, std::vector<void**>& places) {
  for (LateEntry& entry : LateEntries(module)) {
    if (_stricmp(entry.dll, dll) == 0 && strcmp(entry.function, function) == 0) places.push_back(&entry.address);
  }
}

// The places of the pointers that the loader filled in for `function`.
void AddImported(HMODULE module, const char* dll, const char* function, std::vector<void**>& places) {
  const auto& directory = Headers(module)->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  if (!directory.Size) return;
  for (auto* entry = At<IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress); entry->Name; ++entry) {
    if (_stricmp(At<char>(module, entry->Name), dll) != 0 || !entry->OriginalFirstThunk) continue;
    const auto* name = At<IMAGE_THUNK_DATA>(module, entry->OriginalFirstThunk);
    auto* address = At<IMAGE_THUNK_DATA>(module, entry->FirstThunk);
    for (; name->u1.AddressOfData; ++name, ++address) {
      if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
      const auto* import = At<IMAGE_IMPORT_BY_NAME>(module, static_cast<DWORD>(name->u1.AddressOfData));
      if (strcmp(reinterpret_cast<const char*>(import->Name), function) != 0) continue;
      places.push_back(reinterpret_cast<void**>(&address->u1.Function));
    }
  }
}

bool WritePointer(void** place, void* value) {
  DWORD protection = 0;
  if (!VirtualProtect(static_cast<void*>(place), sizeof(void*), PAGE_READWRITE, &protection)) return false;
  InterlockedExchangePointer(place, value);
  VirtualProtect(static_cast<void*>(place), sizeof(void*), protection, &protection);
  return true;
}

}  // namespace

ImportPatch::ImportPatch(ImportPatch&& other) noexcept : slots_(std::exchange(other.slots_, {})) {}

ImportPatch::~ImportPatch() {
  for (; !slots_.empty(); slots_.pop_back()) WritePointer(slots_.back().place, slots_.back().original);
}

ImportPatch ReplaceImport(HMODULE module, const char* dll, const char* function, const void* replacement) {
  std::vector<void**> places;
  AddLate(module, dll, function, places);
  AddImported(module, dll, function, places);
  ImportPatch patch;
  for (void** place : places) {
    void* const original = *place;
    if (!WritePointer(place, const_cast<void*>(replacement))) return {};
    patch.slots_.push_back({place, original});
  }
  return patch;
}

}  // namespace platform
