#include "install/path.h"

#include <windows.h>

#include <shlobj.h>
#include <shlwapi.h>

#include <cstdlib>
#include <cstring>

namespace r5lqz {

OwnedPath NewPath() {
  return OwnedPath(static_cast<WCHAR*>(std::calloc(MAX_PATH, sizeof(WCHAR))));
}

OwnedPath CopyPath(const WCHAR* path) {
  OwnedPath copy = NewPath();
  if (copy) std::memcpy(copy.get(), path, MAX_PATH * sizeof(WCHAR));
  return copy;
}

ResultCode AppendPath(WCHAR* path, const WCHAR* more) {
  return PathAppendW(path, more) ? ERROR_SUCCESS : kPathNotBuilt;
}

ResultCode ReplaceLastComponent(WCHAR* path, const WCHAR* name) {
  return PathRemoveFileSpecW(path) ? AppendPath(path, name) : kPathNotBuilt;
}

ResultCode SpecialFolderPath(int folder, const WCHAR* more, OwnedPath& path) {
  OwnedPath built = NewPath();
  if (!built) return kNoMemoryForPath;
  if (!SHGetSpecialFolderPathW(nullptr, built.get(), folder, FALSE)) {
    // A failure that gives no reason must not pass for success.
    const DWORD error = GetLastError();
    return error != ERROR_SUCCESS ? error : DWORD{ERROR_PATH_NOT_FOUND};
  }
  if (const ResultCode code = AppendPath(built.get(), more)) return code;
  path = std::move(built);
  return ERROR_SUCCESS;
}

bool PathExists(const WCHAR* path) {
  return PathFileExistsW(path) != FALSE;
}

}  // namespace r5lqz
