#include "install/file_tree.h"

#include <shlwapi.h>

#include "install/path.h"

namespace r5lqz {
namespace {

void CloseSearch(void* search) {
  FindClose(search);
}
using OwnedSearch = std::unique_ptr<void, Releaser<CloseSearch>>;

OwnedSearch FindFirst(const WCHAR* pattern, WIN32_FIND_DATAW& entry) {
  const HANDLE search = FindFirstFileW(pattern, &entry);
  return OwnedSearch(search == INVALID_HANDLE_VALUE ? nullptr : search);
}

bool IsDotEntry(const WCHAR* name) {
  return name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0));
}

void DeleteEntry(const WIN32_FIND_DATAW& entry, const WCHAR* path) {
  if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
    DeleteDirectoryTree(path);
  } else {
    DeleteFileNowOrLater(path);
  }
}

// The search is closed when this returns, so that it is not in the way of the folder's removal.
ResultCode DeleteEntries(const WCHAR* folder) {
  OwnedPath path;
  // Not begun where even a short name would not fit.
  if (const ResultCode code = JoinPath(folder, L"foo", path)) return code;
  if (const ResultCode code = JoinPath(folder, L"*", path)) return code;
  WIN32_FIND_DATAW entry;
  const OwnedSearch search = FindFirst(path.get(), entry);
  if (search) {
    do {
      if (IsDotEntry(entry.cFileName)) continue;
      if (const ResultCode code = JoinPath(folder, entry.cFileName, path)) return code;
      DeleteEntry(entry, path.get());
    } while (FindNextFileW(search.get(), &entry));
  }
  const DWORD error = GetLastError();
  return error == ERROR_NO_MORE_FILES ? ERROR_SUCCESS : error;
}

}  // namespace

ResultCode DeleteDirectoryTree(const WCHAR* folder) {
  // What a link leads to is none of ours.
  if (!IsLink(folder)) {
    if (const ResultCode code = DeleteEntries(folder)) return code;
  }
  if (!RemoveDirectoryW(folder)) DeleteLater(folder);
  return ERROR_SUCCESS;
}

bool IsLink(const WCHAR* path) {
  const DWORD attributes = GetFileAttributesW(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT);
}

ResultCode CopyNewFile(const WCHAR* source, const WCHAR* target) {
  ResultCode code = ERROR_SUCCESS;
  if (!PathExists(source)) {
    code = kSourceMissing;
  } else if (PathExists(target)) {
    code = kTargetExists;
  } else {
    OwnedPath folder;
    if (CopyPath(target, folder) == ERROR_SUCCESS && PathRemoveFileSpecW(folder.get())) {
      CreateDirectoryTree(folder.get());
    }
    if (!CopyFileW(source, target, TRUE)) code = GetLastError();
  }
  SetLastError(code);
  return code;
}

ResultCode CreateDirectoryTree(const WCHAR* folder) {
  if (PathExists(folder)) return ERROR_SUCCESS;
  OwnedPath parent;
  if (const ResultCode code = CopyPath(folder, parent)) return code;
  if (PathRemoveFileSpecW(parent.get()) && parent.get()[0]) CreateDirectoryTree(parent.get());
  return CreateDirectoryW(folder, nullptr) ? ERROR_SUCCESS : GetLastError();
}

void DeleteFileNowOrLater(const WCHAR* file) {
  if (!DeleteFileW(file)) DeleteLater(file);
}

void DeleteLater(const WCHAR* path) {
  MoveFileExW(path, nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
}

}  // namespace r5lqz
