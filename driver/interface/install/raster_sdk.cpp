#include "install/raster_sdk.h"

#include <windows.h>

#include <shlobj.h>

#include "base/printer_interface.h"
#include "diag/trace.h"
#include "install/file_tree.h"
#include "install/path.h"

namespace r5lqz {
namespace {

constexpr WCHAR kMakersFolder[] = L"Brindlewick";
constexpr WCHAR kSdkFolder[] = L"Brindlewick\\Brindlewick R5-LQZ Driver";
constexpr int kMakersLevels = 1;
constexpr int kSdkLevels = 2;

// The driver directory's subfolder for drivers of version 3.
constexpr WCHAR kVersionFolder[] = L"3";

constexpr struct {
  const WCHAR* source;
  const WCHAR* target;
} kFiles[] = {
    {L"r5-lqz-hpcrlib.dll", L"hpcrlib.dll"},
    {L"r5-lqz-hpldrlgl.dat", L"hpldrlgl.dat"},
    {L"r5-lqz-hpldrlgl.dll", L"hpldrlgl.dll"},
    {L"r5-lqz-iconv.dll", L"iconv.dll"},
};

ResultCode FindSourceFolder(OwnedPath& folder) {
  folder = NewPath();
  if (!folder) return kNoMemoryForPath;
  DWORD needed = 0;
  if (!GetPrinterDriverDirectoryW(nullptr, nullptr, 1, reinterpret_cast<BYTE*>(folder.get()), MAX_PATH * sizeof(WCHAR),
                                  &needed)) {
    LOG_ERROR("Cannot get driver path. %s", "VDRV_CopyRasterSdkFiles");
    return kNoDriverDirectory;
  }
  return AppendPath(folder.get(), kVersionFolder);
}

// One file that is there already stops the copying, but not the question whose the others are.
ResultCode CopyFiles(const WCHAR* source_folder, const WCHAR* target_folder) {
  ResultCode result = ERROR_SUCCESS;
  for (const auto& file : kFiles) {
    OwnedPath source;
    OwnedPath target;
    if (const ResultCode code = JoinPath(source_folder, file.source, source)) return code;
    if (const ResultCode code = JoinPath(target_folder, file.target, target)) return code;
    if (result == kTargetExists && !PathExists(target.get())) continue;
    const ResultCode code = CopyNewFile(source.get(), target.get(), kSdkLevels);
    if (code == ERROR_ACCESS_DENIED || result == ERROR_SUCCESS) result = code;
    if (result != ERROR_SUCCESS && result != kTargetExists) break;
  }
  return result;
}

ResultCode DeleteFiles(const HeldFolder& held, const WCHAR* folder) {
  for (const auto& file : kFiles) {
    OwnedPath path;
    if (const ResultCode code = JoinPath(folder, file.target, path)) return code;
    DeleteNowOrLater(held, path.get());
  }
  return ERROR_SUCCESS;
}

}  // namespace

ResultCode VDRV_CopyRasterSdkFiles() {
  OwnedPath source_folder;
  if (const ResultCode code = FindSourceFolder(source_folder)) return code;
  const OwnedPath target_folder(GetRasterSdkFolder());
  if (!target_folder) return GetLastError();
  return CopyFiles(source_folder.get(), target_folder.get());
}

ResultCode DeleteRasterSdkFiles() {
  const OwnedPath folder(GetRasterSdkFolder());
  const ResultCode folder_error = folder ? ERROR_SUCCESS : GetLastError();
  OwnedPath makers_folder;
  if (const ResultCode code = SpecialFolderPath(CSIDL_COMMON_APPDATA, kMakersFolder, makers_folder)) return code;
  if (!folder) return folder_error;
  HeldFolder held_makers_folder;
  HeldFolder held;
  // Every user may make folders in the common application data: what is missing, lies behind a link or belongs to a
  // stranger is none of ours, and what is put off to the next restart is found by its path then.
  if (HoldDirectoryTree(makers_folder.get(), kMakersLevels, Trust::kItsOwner, held_makers_folder) != ERROR_SUCCESS ||
      HoldFolder(held_makers_folder, folder.get(), Trust::kItsOwner, held) != ERROR_SUCCESS) {
    return ERROR_SUCCESS;
  }
  // One that an older driver made may be open to users until the restart.
  ProtectFolder(held);
  if (const ResultCode code = DeleteFiles(held, folder.get())) return code;
  // Another model's driver may use the folders until then; the system removes them only if they are empty.
  DeleteLater(folder.get());
  DeleteLater(makers_folder.get());
  return ERROR_SUCCESS;
}

WCHAR* GetRasterSdkFolder() {
  OwnedPath path;
  const ResultCode code = SpecialFolderPath(CSIDL_COMMON_APPDATA, kSdkFolder, path);
  SetLastError(code);
  return path.release();
}

}  // namespace r5lqz
