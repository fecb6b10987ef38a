// Colour profiles that belong to the printers.
#include "native/state.h"

#include <icm.h>

#include <span>

namespace platform {
namespace {

struct ProfileList {
  Bytes bytes;
  DWORD count = 0;
  DWORD beyond = 0;
};

// Without profiles the list is its closing empty text alone.
const Bytes kNoProfiles(sizeof(char16_t));

ProfileList profiles{kNoProfiles, 0};
std::string last_device;

bool IsDeviceFilter(const ENUMTYPEW* filter) {
  return filter && filter->dwSize == sizeof(ENUMTYPEW) && filter->dwVersion == ENUM_TYPE_VERSION &&
         filter->dwFields == ET_DEVICENAME && filter->pDeviceName;
}

}  // namespace

void SetProfiles(std::span<const std::u16string> names) {
  std::u16string list;
  for (const auto& name : names) list.append(name).push_back(u'\0');
  list.push_back(u'\0');
  SetProfileListBytes(std::as_bytes(std::span(list)), static_cast<DWORD>(names.size()));
}

void SetProfileListBytes(std::span<const std::byte> bytes, DWORD count, DWORD beyond) {
  std::lock_guard lock(StateMutex());
  profiles = {Bytes(bytes.begin(), bytes.end()), count, beyond};
}

std::string LastProfileDevice() {
  std::lock_guard lock(StateMutex());
  return last_device;
}

void ResetProfiles() {
  SetProfileListBytes(kNoProfiles, 0);
  std::lock_guard lock(StateMutex());
  last_device.clear();
}

}  // namespace platform

extern "C" BOOL WINAPI EnumColorProfilesW(PCWSTR machine, PENUMTYPEW filter, PBYTE buffer, PDWORD size, PDWORD count) {
  platform::CallScope call(platform::Call::kEnumColorProfilesW);
  if (call.failed()) return call.Fail(FALSE);
  if (machine || !size || !platform::IsDeviceFilter(filter)) {
    return platform::FailWith(ERROR_INVALID_PARAMETER, FALSE);
  }
  std::lock_guard lock(platform::StateMutex());
  const platform::Bytes& list = platform::profiles.bytes;
  platform::last_device = platform::Narrow(platform::View(filter->pDeviceName));
  const bool fits = *size >= list.size() && (buffer || list.empty());
  if (fits && !list.empty()) std::memcpy(buffer, list.data(), list.size());
  *size = static_cast<DWORD>(list.size()) + (fits ? platform::profiles.beyond : 0);
  if (count) *count = platform::profiles.count;
  return fits ? TRUE : platform::FailWith(ERROR_INSUFFICIENT_BUFFER, FALSE);
}
