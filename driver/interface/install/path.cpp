#include "install/path.h"

#include <windows.h>

#include <shlobj.h>
#include <shlwapi.h>

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <utility>

#include "base/late.h"

namespace r5lqz {

OwnedPath NewPath() {
  return OwnedPath(static_cast<WCHAR*>(std::calloc(MAX_PATH, sizeof(WCHAR))));
}

ResultCode CopyPath(const WCHAR* path, OwnedPath& copy) {
  copy.reset();
  const std::size_t length = std::wcslen(path);
  if (length >= MAX_PATH) return kPathNotBuilt;
  copy = NewPath();
  if (!copy) return kNoMemoryForPath;
  std::memcpy(copy.get(), path, length * sizeof(WCHAR));
  return ERROR_SUCCESS;
}

ResultCode AppendPath(WCHAR* path, const WCHAR* more) {
  return R5LQZ_CALL_LATE(PathAppendW, path, more) ? ERROR_SUCCESS : kPathNotBuilt;
}

ResultCode JoinPath(const WCHAR* folder, const WCHAR* name, OwnedPath& path) {
  OwnedPath joined;
  if (const ResultCode code = CopyPath(folder, joined)) return code;
  std::size_t length = std::wcslen(folder);
  if (length > 0 && folder[length - 1] != L'\\') ++length;
  const std::size_t name_length = std::wcslen(name);
  if (length + name_length >= MAX_PATH) return kPathNotBuilt;
  if (length > 0) joined.get()[length - 1] = L'\\';
  std::memcpy(joined.get() + length, name, name_length * sizeof(WCHAR));
  path = std::move(joined);
  return ERROR_SUCCESS;
}

ResultCode SpecialFolderPath(int folder, const WCHAR* more, OwnedPath& path) {
  OwnedPath built = NewPath();
  if (!built) return kNoMemoryForPath;
  if (!R5LQZ_CALL_LATE(SHGetSpecialFolderPathW, nullptr, built.get(), folder, FALSE)) {
    // A failure that gives no reason must not pass for success.
    const DWORD error = GetLastError();
    return error != ERROR_SUCCESS ? error : DWORD{ERROR_PATH_NOT_FOUND};
  }
  if (more) {
    if (const ResultCode code = AppendPath(built.get(), more)) return code;
  }
  path = std::move(built);
  return ERROR_SUCCESS;
}

bool PathExists(const WCHAR* path) {
  return R5LQZ_CALL_LATE(PathFileExistsW, path) != FALSE;
}

}  // namespace r5lqz
