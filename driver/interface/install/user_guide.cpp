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

struct StartMenu {
  OwnedPath folder;    // the driver's
  OwnedPath programs;  // the system's, which it lies in
};

ResultCode FindStartMenu(StartMenu& menu) {
  if (const ResultCode code = SpecialFolderPath(CSIDL_COMMON_PROGRAMS, kStartMenuFolder, menu.folder)) return code;
  return SpecialFolderPath(CSIDL_COMMON_PROGRAMS, nullptr, menu.programs);
}

// In the place of one that is there already, unless it is a stranger's.
OwnedHandle OpenShortcut(const HeldFolder& folder, const WCHAR* path) {
  constexpr DWORD kAccess = GENERIC_WRITE | DELETE | READ_CONTROL;
  OwnedHandle file = OpenIn(folder, path, kAccess);
  if (!file && GetLastError() == ERROR_FILE_NOT_FOUND) file = OpenIn(folder, path, kAccess, CREATE_NEW);
  LONGLONG size = 0;
  const ResultCode error = !file                            ? GetLastError()
                           : !IsPlainFile(file.get(), size) ? ResultCode{ERROR_ACCESS_DENIED}
                                                            : CheckOwner(file.get());
  if (error) {
    file.reset();
    SetLastError(error);
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
  StartMenu menu;
  HeldFolder programs;
  if (const ResultCode code = FindStartMenu(menu)) return code;
  OwnedPath& path = menu.folder;
  if (const ResultCode code = HoldSystemFolder(menu.programs.get(), programs)) return code;
  if (!PathExists(path.get())) {
    if (const ResultCode code = CreateProtectedFolder(programs, path.get())) return code;
  }
  HeldFolder folder;
  if (const ResultCode code = HoldFolder(programs, path.get(), Trust::kItsOwner, folder)) return code;
  if (const ResultCode code = ProtectFolder(folder)) return code;
  if (const ResultCode code = AppendPath(path.get(), language.shortcut_name)) return code;
  return WriteShortcut(folder, path.get());
}

ResultCode DeleteStartMenuFolder() {
  StartMenu menu;
  HeldFolder programs;
  if (const ResultCode code = FindStartMenu(menu)) return code;
  if (HoldSystemFolder(menu.programs.get(), programs) == ERROR_SUCCESS) {
    DeleteDirectoryTree(programs, menu.folder.get());
  }
  return ERROR_SUCCESS;
}

}  // namespace r5lqz
