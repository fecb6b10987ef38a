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

// Paths in the working blocks have a fixed size; one that is handed in may be longer.
ResultCode TakePath(const WCHAR* from, OwnedPath& path) {
  path = NewPath();
  if (!path) return kNoMemoryForPath;
  return AppendPath(path.get(), from);
}

ResultCode AppendTo(const WCHAR* folder, const WCHAR* more, OwnedPath& path) {
  if (const ResultCode code = TakePath(folder, path)) return code;
  return AppendPath(path.get(), more);
}

// A folder under this name may be a link to one that is none of ours: only the link is removed.
void DeleteEntry(const WIN32_FIND_DATAW& entry, const WCHAR* path) {
  if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) {
    DeleteFileNowOrLater(path);
  } else if (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) {
    if (!RemoveDirectoryW(path)) DeleteLater(path);
  } else {
    DeleteDirectoryTree(path);
  }
}

// Deletes what the folder holds; `item` is a path in it whose last component is replaced.
ResultCode DeleteEntries(const WCHAR* pattern, WCHAR* item) {
  WIN32_FIND_DATAW entry;
  const OwnedSearch search = FindFirst(pattern, entry);
  if (!search) return GetLastError();
  do {
    if (IsDotEntry(entry.cFileName)) continue;
    if (const ResultCode code = ReplaceLastComponent(item, entry.cFileName)) return code;
    DeleteEntry(entry, item);
  } while (FindNextFileW(search.get(), &entry));
  const DWORD error = GetLastError();
  return error == ERROR_NO_MORE_FILES ? ERROR_SUCCESS : error;
}

}  // namespace

ResultCode DeleteDirectoryTree(const WCHAR* folder) {
  OwnedPath pattern;
  OwnedPath item;
  if (const ResultCode code = AppendTo(folder, L"*", pattern)) return code;
  if (const ResultCode code = AppendTo(folder, L"foo", item)) return code;
  if (const ResultCode code = DeleteEntries(pattern.get(), item.get())) return code;
  if (!RemoveDirectoryW(folder)) DeleteLater(folder);
  return ERROR_SUCCESS;
}

ResultCode CopyNewFile(const WCHAR* source, const WCHAR* target) {
  ResultCode code = ERROR_SUCCESS;
  if (!PathExists(source)) {
    code = kSourceMissing;
  } else if (PathExists(target)) {
    code = kTargetExists;
  } else {
    OwnedPath folder;
    if (TakePath(target, folder) == ERROR_SUCCESS && PathRemoveFileSpecW(folder.get())) CreateDirectoryTree(folder.get());
    if (!CopyFileW(source, target, TRUE)) code = GetLastError();
  }
  SetLastError(code);
  return code;
}

ResultCode CreateDirectoryTree(const WCHAR* folder) {
  if (PathExists(folder)) return ERROR_SUCCESS;
  OwnedPath parent;
  if (const ResultCode code = TakePath(folder, parent)) return code;
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
