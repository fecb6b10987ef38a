#include "install/file_tree.h"

#include <shlwapi.h>

#include <array>

#include "base/bounded_text.h"
#include "base/late.h"
#include "base/open_beneath.h"
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

void DeleteEntry(const HeldFolder& folder, const WIN32_FIND_DATAW& entry, const WCHAR* path) {
  if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
    DeleteDirectoryTree(folder, path);
  } else {
    DeleteNowOrLater(folder, path);
  }
}

// The search is closed when this returns, so that it is not in the way of the folder's removal.
ResultCode DeleteEntries(const HeldFolder& held, const WCHAR* folder) {
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
      DeleteEntry(held, entry, path.get());
    } while (FindNextFileW(search.get(), &entry));
  }
  const DWORD error = GetLastError();
  return error == ERROR_NO_MORE_FILES ? ERROR_SUCCESS : error;
}

enum class Missing { kStays, kIsCreated };

ResultCode HoldTree(const WCHAR* folder, int own_levels, Trust trust, Missing missing, HeldFolder& held) {
  if (own_levels == 0) return HoldSystemFolder(folder, held);
  OwnedPath above;
  if (const ResultCode code = CopyPath(folder, above)) return code;
  if (!R5LQZ_CALL_LATE(PathRemoveFileSpecW, above.get())) return kPathNotBuilt;
  HeldFolder parent;
  if (const ResultCode code = HoldTree(above.get(), own_levels - 1, trust, missing, parent)) return code;
  const ResultCode code = HoldFolder(parent, folder, trust, held);
  if (code != ERROR_PATH_NOT_FOUND || missing == Missing::kStays) return code;
  // Whether it was created, by whoever, and what it is, shows when it is held.
  CreateProtectedFolder(parent, folder);
  return HoldFolder(parent, folder, trust, held);
}

// What is said of a target that is there already. One that a stranger put there is not what it is named like; nor is
// one with another name, by which others may write it.
ResultCode CheckTarget(const HeldFolder& held, const WCHAR* target) {
  const OwnedHandle there = OpenIn(held, target, READ_CONTROL);
  if (!there) return GetLastError();
  LONGLONG size = 0;
  if (!IsPlainFile(there.get(), size)) return ERROR_ACCESS_DENIED;
  const ResultCode error = CheckOwner(there.get());
  return error ? error : kTargetExists;
}

// Also when it was last written, as far as the system lets it be said: by that others tell versions apart.
ResultCode CopyContent(HANDLE source, HANDLE target) {
  std::array<BYTE, 16384> block;
  for (DWORD size = 1; size > 0;) {
    DWORD written = 0;
    if (!ReadFile(source, block.data(), static_cast<DWORD>(block.size()), &size, nullptr) ||
        !WriteFile(target, block.data(), size, &written, nullptr)) {
      return GetLastError();
    }
    if (written != size) return ERROR_WRITE_FAULT;
  }
  FILE_BASIC_INFO read{};
  if (GetFileInformationByHandleEx(source, FileBasicInfo, &read, sizeof read)) {
    FILE_BASIC_INFO dated{};
    dated.LastWriteTime = read.LastWriteTime;
    SetFileInformationByHandle(target, FileBasicInfo, &dated, sizeof dated);
  }
  return ERROR_SUCCESS;
}

// By two handles: every user may read either file, and could open it, or lock it for good, between two looks at its
// path. A target in a folder that is empty could come to lie elsewhere besides.
ResultCode CopyInto(const HeldFolder& held, const WCHAR* source, const WCHAR* target) {
  const OwnedHandle from = OpenFullPath(TextAt(source, MAX_PATH), GENERIC_READ, FILE_NON_DIRECTORY_FILE);
  if (!from) return GetLastError();
  const OwnedHandle to = OpenIn(held, target, GENERIC_WRITE | DELETE, CREATE_NEW);
  if (!to) return GetLastError();
  const ResultCode code = CopyContent(from.get(), to.get());
  // None is better than half of one, which would pass for the file next time.
  if (code) DeleteOpened(to.get());
  return code;
}

ResultCode CopyIntoTree(const WCHAR* source, const WCHAR* target, int own_levels) {
  if (!PathExists(source)) return kSourceMissing;
  OwnedPath folder;
  if (const ResultCode code = CopyPath(target, folder)) return code;
  if (!R5LQZ_CALL_LATE(PathRemoveFileSpecW, folder.get())) return kPathNotBuilt;
  HeldFolder held;
  // A target in a folder that is not to be trusted is not taken for the file that it is named like.
  ResultCode code = HoldDirectoryTree(folder.get(), own_levels, Trust::kItsOwner, held);
  // Trusted is who owns the folder; who may change what is, or will be, there is said anew.
  if (code == ERROR_SUCCESS) code = ProtectFolder(held);
  if (code != ERROR_SUCCESS && code != ERROR_PATH_NOT_FOUND) return code;
  if (code == ERROR_SUCCESS && PathExists(target)) return CheckTarget(held, target);
  if (code == ERROR_PATH_NOT_FOUND) code = CreateDirectoryTree(folder.get(), own_levels, held);
  return code ? code : CopyInto(held, source, target);
}

}  // namespace

ResultCode HoldDirectoryTree(const WCHAR* folder, int own_levels, Trust trust, HeldFolder& held) {
  return HoldTree(folder, own_levels, trust, Missing::kStays, held);
}

ResultCode CreateDirectoryTree(const WCHAR* folder, int own_levels, HeldFolder& held) {
  const ResultCode code = HoldTree(folder, own_levels, Trust::kItsOwner, Missing::kIsCreated, held);
  // Somebody else may have been the first to make it.
  return code ? code : ProtectFolder(held);
}

ResultCode CopyNewFile(const WCHAR* source, const WCHAR* target, int own_levels) {
  const ResultCode code = CopyIntoTree(source, target, own_levels);
  SetLastError(code);
  return code;
}

ResultCode DeleteDirectoryTree(const HeldFolder& parent, const WCHAR* folder) {
  {
    HeldFolder held;
    // What a link leads to is none of ours.
    if (HoldFolder(parent, folder, Trust::kItsPlace, held) == ERROR_SUCCESS) {
      if (const ResultCode code = DeleteEntries(held, folder)) return code;
    }
  }
  // Not while it is held.
  DeleteNowOrLater(parent, folder);
  return ERROR_SUCCESS;
}

}  // namespace r5lqz
