// Files in a folder where everybody may write: opened, renamed and deleted where their names say, and nowhere else.
// Paths are full ones with a drive, in the system's ANSI code page.
#pragma once

#include <windows.h>

#include <array>

#include "base/owned.h"

namespace r5lqz {

// An open file, or none, and its size in bytes when it was opened.
struct PlainFile {
  OwnedHandle handle;
  LONGLONG size = 0;
};

// Opens an existing file; while it is open others may read and write it, but neither it nor a folder on its path can be
// renamed, deleted or replaced. None when it cannot be opened, and when the name, or a folder on its way, leads
// somewhere else: a link of any kind, a pipe, a device, a file that has other names. Never waits for a pipe's other
// end, which could do no more than learn who asks. The handle is not inheritable. The last error is
// ERROR_FILE_NOT_FOUND only when nothing has the name.
PlainFile OpenPlainFile(const char* path, DWORD access);

// Makes a new, empty file. False when something has the name, or when the file would come to lie somewhere else;
// nothing is left there then.
bool CreatePlainFile(const char* path);

// Gives the file a new name, which nothing may have yet; false when it cannot, or when what has the name is no plain
// file.
bool RenamePlainFile(const char* from, const char* to);

// Deletes the file; false as above.
bool DeletePlainFile(const char* path);

// How a final path on a drive begins.
inline constexpr WCHAR kFinalPrefix[] = L"\\\\?\\";

// Where an open file or folder really lies, whatever links led to it: a full path after kFinalPrefix. Empty when it has
// none, or a longer one than the platform's usual greatest.
using FinalPath = std::array<WCHAR, MAX_PATH + 4>;
FinalPath FinalPathOf(HANDLE file);

// Whether an open file is one on a disk, no folder, link, pipe or device, and has no other name. `size` is its size in
// bytes then.
bool IsPlainFile(HANDLE file, LONGLONG& size);

// Deletes what the handle, which needs the access DELETE, has opened: it is gone when the handle is closed.
bool DeleteOpened(HANDLE file);

}  // namespace r5lqz
