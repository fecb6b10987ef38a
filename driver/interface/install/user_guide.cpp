#include "install/user_guide.h"

#include <windows.h>

#include <shlobj.h>

#include <cstdio>

#include "diag/owned.h"
#include "install/file_tree.h"
#include "install/path.h"

namespace r5lqz {
namespace {

constexpr WCHAR kStartMenuFolder[] = L"Brindlewick R5-LQZ";

// In the order of UiLanguage.
constexpr const WCHAR* kShortcutNames[] = {
    L"R5-LQZ User Guide.url",
    L"R5-LQZ Bedienungsanleitung.url",
    L"Guide d\u2019utilisation de la R5-LQZ.url",
    L"R5-LQZ \u7528\u6237\u6307\u5357.url",
    L"Gu\u00EDa de usuario de R5-LQZ.url",
};

// The maker's online user guide; the only place that names it.
constexpr char kUserGuideAddress[] = "https://support.brindlewick.example/r5-lqz/user-guide";

// The runtime library tells by errno why a file could not be opened; the platform's error beside it is reported.
ResultCode OpenFailure() {
  const DWORD error = GetLastError();
  return error != ERROR_SUCCESS ? error : DWORD{ERROR_OPEN_FAILED};
}

ResultCode WriteShortcut(const WCHAR* path) {
  const OwnedFile file(_wfopen(path, L"wt"));
  if (!file) return OpenFailure();
  const bool written = std::fprintf(file.get(), "[InternetShortcut]\nURL=%s", kUserGuideAddress) >= 0;
  return written && std::fflush(file.get()) == 0 ? ERROR_SUCCESS : DWORD{ERROR_WRITE_FAULT};
}

}  // namespace

ResultCode CreateUserGuideShortcut(UiLanguage language) {
  OwnedPath path;
  if (const ResultCode code = SpecialFolderPath(CSIDL_COMMON_PROGRAMS, kStartMenuFolder, path)) return code;
  if (!PathExists(path.get()) && !CreateDirectoryW(path.get(), nullptr)) return GetLastError();
  if (const ResultCode code = AppendPath(path.get(), kShortcutNames[static_cast<std::size_t>(language)])) return code;
  return WriteShortcut(path.get());
}

ResultCode DeleteStartMenuFolder() {
  OwnedPath path;
  if (const ResultCode code = SpecialFolderPath(CSIDL_COMMON_PROGRAMS, kStartMenuFolder, path)) return code;
  if (PathExists(path.get())) DeleteDirectoryTree(path.get());
  return ERROR_SUCCESS;
}

}  // namespace r5lqz
