#include <cstring>

#include "base/bounded_text.h"
#include "base/printer_interface.h"
#include "diag/trace.h"
#include "settings/driver_devmode.h"

namespace r5lqz {
namespace {

// The device profile of every job, whatever the record's own colour settings.
constexpr WCHAR kDeviceProfile[] = L"sRGB Color Space Profile.icm";
constexpr ULONG kDeviceProfileSize = sizeof kDeviceProfile;  // bytes, with the terminator

// The signature where a record of this driver carries it; a record that ends before it has none.
bool CarriesSignature(const DEVMODEW* record) {
  if (!record || FormOf(record).total() < kPublicSize + sizeof(DWORD)) return false;
  DWORD signature = 0;
  std::memcpy(&signature, reinterpret_cast<const std::byte*>(record) + kPublicSize, sizeof signature);
  return signature == kSignature;
}

BOOL QueryColorProfile(const DEVMODEW* record, ULONG mode, void* name, ULONG* size, ULONG* flags) {
  if (!CarriesSignature(record)) {
    LOG_ERROR("Wrong sig for color profile");
    return FALSE;
  }
  if (mode != QCP_DEVICEPROFILE) {
    LOG_ERROR("Only support QCP_DEVICEPROFILE");
    return FALSE;
  }
  if (!size) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (*size < kDeviceProfileSize || !name) {
    *size = kDeviceProfileSize;
    LOG_ERROR("Profile name buffer too small");
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return FALSE;
  }
  std::memcpy(name, kDeviceProfile, kDeviceProfileSize);
  *size = kDeviceProfileSize;
  if (flags) *flags = QCP_PROFILEDISK;
  LOG_INFO("Profile = %s", ShownText<kDeviceProfileSize>(TextIn(std::span<const WCHAR>(kDeviceProfile))).c_str());
  return TRUE;
}

}  // namespace
}  // namespace r5lqz

BOOL WINAPI DrvQueryColorProfile(HANDLE /*printer*/, PDEVMODEW record, ULONG mode, PVOID name, ULONG* size,
                                 ULONG* flags) {
  const r5lqz::TraceScope trace("DrvQueryColorProfile");
  return r5lqz::QueryColorProfile(record, mode, name, size, flags);
}
