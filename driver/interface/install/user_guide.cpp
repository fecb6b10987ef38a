#include "install/user_guide.h"

#include <windows.h>

#include <shlobj.h>

#include "base/owned.h"
#include "install/file_tree.h"
#include "install/path.h"

namespace r5lqz {
namespace {

constexpr WCHAR kStartMenuFolder[] = L"Brindlewick R5-LQZ";

// The maker's online user guide; the only place that names it.
constexpr char kContent[] = "[InternetShortcut]\r\nURL=https://support.brindlewick.example/r5-lqz/user-guide";

ResultCode FindFolder(OwnedPath& path) {
  return SpecialFolderPath(CSIDL_COMMON_PROGRAMS, kStartMenuFolder, path);
}

// In the place of one that is there already.
OwnedHandle OpenShortcut(const HeldFolder& folder, const WCHAR* path) {
  constexpr DWORD kAccess = GENERIC_WRITE | DELETE;
  OwnedHandle file = OpenIn(folder, path, kAccess);
  if (!file && GetLastError() == ERROR_FILE_NOT_FOUND) file = OpenIn(folder, path, kAccess, CREATE_NEW);
  LONGLONG size = 0;
  if (file && !IsPlainFile(file.get(), size)) {
    file.reset();
    SetLastError(ERROR_ACCESS_DENIED);
  }
  return file;
}

ResultCode WriteShortcut(const HeldFolder& folder, const WCHAR* path) {
  const OwnedHandle file = OpenShortcut(folder, path);
  if (!file) return GetLastError();
  constexpr DWORD kSize = sizeof kContent - 1;
  DWORD written = 0;
  if (SetEndOfFile(file.get()) && WriteFile(file.get(), kContent, kSize, &written, nullptr)) {
    if (written == kSize) return ERROR_SUCCESS;
    SetLastError(ERROR_WRITE_FAULT);
  }
  // None is better than half of one.
  const DWORD error = GetLastError();
  DeleteOpened(file.get());
  return error;
}

}  // namespace

ResultCode CreateUserGuideShortcut(const UiLanguage& language) {
  OwnedPath path;
  if (const ResultCode code = FindFolder(path)) return code;
  if (!PathExists(path.get())) {
    if (const ResultCode code = CreateProtectedFolder(path.get())) return code;
  }
  HeldFolder folder;
  if (const ResultCode code = HoldDirectoryTree(path.get(), 1, Trust::kItsOwner, folder)) return code;
  if (const ResultCode code = ProtectFolder(folder)) return code;
  if (const ResultCode code = AppendPath(path.get(), language.shortcut_name)) return code;
  return WriteShortcut(folder, path.get());
}

ResultCode DeleteStartMenuFolder() {
  OwnedPath path;
  OwnedPath programs;
  if (const ResultCode code = FindFolder(path)) return code;
  if (const ResultCode code = SpecialFolderPath(CSIDL_COMMON_PROGRAMS, nullptr, programs)) return code;
  HeldFolder parent;
  if (HoldSystemFolder(programs.get(), parent) == ERROR_SUCCESS) DeleteDirectoryTree(parent, path.get());
  return ERROR_SUCCESS;
}

}  // namespace r5lqz
