#include "import_patch.h"

#include <cstring>
#include <utility>

namespace platform {
namespace {

template <class T>
T* At(HMODULE module, DWORD offset) {
  return reinterpret_cast<T*>(reinterpret_cast<BYTE*>(module) + offset);
}

const IMAGE_DATA_DIRECTORY& Directory(HMODULE module, unsigned index) {
  const auto* dos = At<IMAGE_DOS_HEADER>(module, 0);
  const auto* headers = At<IMAGE_NT_HEADERS>(module, static_cast<DWORD>(dos->e_lfanew));
  return headers->OptionalHeader.DataDirectory[index];
}

// Walks the names of one DLL's imports beside the pointers that the loader filled in.
void FindIn(HMODULE module, DWORD names, DWORD addresses, const char* function, std::vector<void**>& places) {
  if (!names || !addresses) return;
  const auto* name = At<IMAGE_THUNK_DATA>(module, names);
  auto* address = At<IMAGE_THUNK_DATA>(module, addresses);
  for (; name->u1.AddressOfData; ++name, ++address) {
    if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
    const auto* import = At<IMAGE_IMPORT_BY_NAME>(module, static_cast<DWORD>(name->u1.AddressOfData));
    if (strcmp(reinterpret_cast<const char*>(import->Name), function) == 0) {
      places.push_back(reinterpret_cast<void**>(&address->u1.Function));
    }
  }
}

std::vector<void**> FindOrdinary(HMODULE module, const char* dll, const char* function) {
  std::vector<void**> places;
  const auto& directory = Directory(module, IMAGE_DIRECTORY_ENTRY_IMPORT);
  if (!directory.Size) return places;
  for (auto* entry = At<IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress); entry->Name; ++entry) {
    if (_stricmp(At<char>(module, entry->Name), dll) != 0) continue;
    FindIn(module, entry->OriginalFirstThunk, entry->FirstThunk, function, places);
  }
  return places;
}

std::vector<void**> FindDelayed(HMODULE module, const char* dll, const char* function) {
  std::vector<void**> places;
  const auto& directory = Directory(module, IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT);
  if (!directory.Size) return places;
  for (auto* entry = At<IMAGE_DELAYLOAD_DESCRIPTOR>(module, directory.VirtualAddress); entry->DllNameRVA; ++entry) {
    if (_stricmp(At<char>(module, entry->DllNameRVA), dll) != 0) continue;
    FindIn(module, entry->ImportNameTableRVA, entry->ImportAddressTableRVA, function, places);
  }
  return places;
}

bool WritePointer(void** place, void* value) {
  DWORD protection = 0;
  if (!VirtualProtect(place, sizeof(void*), PAGE_READWRITE, &protection)) return false;
  InterlockedExchangePointer(place, value);
  VirtualProtect(place, sizeof(void*), protection, &protection);
  return true;
}

}  // namespace

ImportPatch::ImportPatch(ImportPatch&& other) noexcept
    : slots_(std::exchange(other.slots_, {})), previous_(std::exchange(other.previous_, nullptr)) {}

ImportPatch& ImportPatch::operator=(ImportPatch&& other) noexcept {
  if (this != &other) {
    Restore();
    slots_ = std::exchange(other.slots_, {});
    previous_ = std::exchange(other.previous_, nullptr);
  }
  return *this;
}

ImportPatch::~ImportPatch() {
  Restore();
}

void ImportPatch::Restore() noexcept {
  for (; !slots_.empty(); slots_.pop_back()) WritePointer(slots_.back().place, slots_.back().original);
}

ImportPatch ReplaceImport(HMODULE module, const char* dll, const char* function, const void* replacement) {
  ImportPatch patch;
  const auto ordinary = FindOrdinary(module, dll, function);
  const auto delayed = FindDelayed(module, dll, function);
  if (!ordinary.empty()) {
    patch.previous_ = *ordinary.front();
  } else if (!delayed.empty()) {
    // A delayed slot that was not used yet holds a loader stub, which would write itself over the replacement: the
    // function behind it is looked up here instead.
    const HMODULE library = LoadLibraryA(dll);
    if (library) patch.previous_ = reinterpret_cast<void*>(GetProcAddress(library, function));
  }
  for (const auto* places : {&ordinary, &delayed}) {
    for (void** place : *places) {
      void* const original = *place;
      if (!WritePointer(place, const_cast<void*>(replacement))) return {};
      patch.slots_.push_back({place, original});
    }
  }
  return patch;
}

}  // namespace platform
