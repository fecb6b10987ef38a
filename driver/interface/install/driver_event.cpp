// The driver's installation and removal: every task reports its own failure and lets the others run.
#include <cstring>

#include "base/bounded_text.h"
#include "base/late.h"
#include "base/owned.h"
#include "base/printer_interface.h"
#include "diag/trace.h"
#include "install/raster_sdk.h"
#include "install/user_guide.h"

namespace r5lqz {
namespace {

// In the order in which they are uninstalled.
constexpr const WCHAR* kColorProfiles[] = {
    L"R5-LQZ_Premium_Matte_Best_Mode_v02.icc",   L"R5-LQZ_Premium_Matte_Fast_Mode_v01.icc",
    L"R5-LQZ_Premium_Matte_Normal_Mode_v02.icc", L"R5-LQZ_Standard_Matte_Best_Mode_v02.icc",
    L"R5-LQZ_Standard_Matte_Fast_Mode_v01.icc",  L"R5-LQZ_Standard_Matte_Normal_Mode_v01.icc",
};

const WCHAR* DriverName(DWORD level, const BYTE* info) {
  if (!info) return nullptr;
  switch (level) {
    case 1:
      return reinterpret_cast<const DRIVER_INFO_1W*>(info)->pName;
    case 2:
      return reinterpret_cast<const DRIVER_INFO_2W*>(info)->pName;
    case 3:
      return reinterpret_cast<const DRIVER_INFO_3W*>(info)->pName;
    default:
      return nullptr;
  }
}

// The name serves only as a check that the call is about a driver that can be told.
bool HasDriverName(DWORD level, const BYTE* info) {
  const WCHAR* const name = DriverName(level, info);
  return name && RuntimeBlock<WCHAR>(_wcsdup(name));
}

void RemoveColorProfile(const WCHAR* profile) {
  LOG_INFO("Attempting to uninstall color profile = %s", ShownText<MAX_PATH>(TextAt(profile, MAX_PATH - 1)).c_str());
  if (!R5LQZ_CALL_LATE(UninstallColorProfileW, nullptr, profile, TRUE)) {
    LOG_ERROR("UninstallColorProfile failed.  Error = %d", static_cast<int>(GetLastError()));
  }
}

void Install() {
  if (const ResultCode code = CreateUserGuideShortcut(GetUiLanguage())) {
    LOG_ERROR("Could create userguide shortcut: 0x%x", static_cast<unsigned>(code));
  }
  if (const ResultCode code = VDRV_CopyRasterSdkFiles()) {
    LOG_ERROR("Could not copy Raster SDK files: 0x%x", static_cast<unsigned>(code));
  }
}

void Remove() {
  if (const ResultCode code = DeleteStartMenuFolder()) {
    LOG_ERROR("Could not delete Start Menu shortcuts: 0x%x", static_cast<unsigned>(code));
  }
  if (const ResultCode code = DeleteRasterSdkFiles()) {
    LOG_ERROR("Could not delete Raster SDK files: 0x%x", static_cast<unsigned>(code));
  }
  for (const WCHAR* const profile : kColorProfiles) RemoveColorProfile(profile);
}

BOOL HandleEvent(DWORD event, DWORD level, const BYTE* info) {
  if (!HasDriverName(level, info)) {
    LOG_ERROR("Could not get the driver name.");
    return FALSE;
  }
  switch (event) {
    case DRIVER_EVENT_INITIALIZE:
      Install();
      return TRUE;
    case DRIVER_EVENT_DELETE:
      Remove();
      return TRUE;
    default:
      return FALSE;
  }
}

}  // namespace
}  // namespace r5lqz

BOOL WINAPI DrvDriverEvent(DWORD event, DWORD level, LPBYTE info, LPARAM /*param*/) {
  const r5lqz::TraceScope trace("DrvDriverEvent");
  return r5lqz::HandleEvent(event, level, info);
}
