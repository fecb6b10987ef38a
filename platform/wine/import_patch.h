// Replacing an imported function of a loaded module: its import table, or its table of functions that it loads late
// (section .late), is pointed at another function, so that a DLL can be run with what its platform lacks, watched, or
// made to fail, while the file stays as it ships.
#pragma once

#include <windows.h>

#include <vector>

namespace platform {

/// Owner of one replaced import; its end puts the module's table back as it was. The module must stay loaded that
/// long, and owners of the same import must end in reverse order. Move-only.
class ImportPatch {
 public:
  ImportPatch() = default;
  ImportPatch(ImportPatch&& other) noexcept;
  ~ImportPatch();

  /// False when the module imports no such function; nothing was changed then.
  explicit operator bool() const { return !slots_.empty(); }

 private:
  friend ImportPatch ReplaceImport(HMODULE, const char*, const char*, const void*);

  struct Slot {
    void** place;
    void* original;
  };
  std::vector<Slot> slots_;
};

/// Points every import of `function` (exact name) from `dll` (letter case ignored, for example "winspool.drv") at
/// `replacement`. Other threads see the old or the new function, never a mixture. The result is
/// false when the function is not imported by name or its table cannot be written.
ImportPatch ReplaceImport(HMODULE module, const char* dll, const char* function, const void* replacement);

}  // namespace platform
