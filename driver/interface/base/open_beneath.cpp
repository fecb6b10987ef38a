#include "base/open_beneath.h"

#include <winternl.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace r5lqz {

OwnedHandle OpenBeneath(HANDLE folder, std::span<const WCHAR> name, ACCESS_MASK access, ULONG disposition,
                        ULONG options, PSECURITY_DESCRIPTOR descriptor) {
  constexpr NTSTATUS kOplockBreakInProgress = 0x00000108;  // STATUS_OPLOCK_BREAK_IN_PROGRESS, with a handle
  // Nor for content that some service has to fetch; beside FILE_DIRECTORY_FILE the system refuses that option.
  const ULONG without_waiting = FILE_COMPLETE_IF_OPLOCKED | FILE_SYNCHRONOUS_IO_NONALERT |
                                (options & FILE_NON_DIRECTORY_FILE ? FILE_OPEN_NO_RECALL : 0);
  const ULONG sharing = access & DELETE ? 0 : FILE_SHARE_READ | FILE_SHARE_WRITE;
  UNICODE_STRING text{};
  text.Length = text.MaximumLength = static_cast<USHORT>(name.size_bytes());
  text.Buffer = const_cast<WCHAR*>(name.data());
  SECURITY_QUALITY_OF_SERVICE quality{sizeof quality, SecurityIdentification, SECURITY_STATIC_TRACKING, TRUE};
  OBJECT_ATTRIBUTES attributes{};
  InitializeObjectAttributes(&attributes, &text, OBJ_CASE_INSENSITIVE, folder, descriptor);
  attributes.SecurityQualityOfService = &quality;
  IO_STATUS_BLOCK outcome{};
  HANDLE handle = nullptr;
  const NTSTATUS status =
      NtCreateFile(&handle, access | SYNCHRONIZE | FILE_READ_ATTRIBUTES, &attributes, &outcome, nullptr,
                   FILE_ATTRIBUTE_NORMAL, sharing, disposition, options | without_waiting, nullptr, 0);
  OwnedHandle opened(NT_SUCCESS(status) ? handle : nullptr);
  if (opened && status != kOplockBreakInProgress) return opened;
  opened.reset();
  SetLastError(NT_SUCCESS(status) ? DWORD{ERROR_ACCESS_DENIED} : RtlNtStatusToDosError(status));
  return opened;
}

OwnedHandle OpenFullPath(std::span<const WCHAR> path, ACCESS_MASK access, ULONG options) {
  constexpr WCHAR kPrefix[] = L"\\??\\";
  constexpr std::size_t kPrefixLength = std::size(kPrefix) - 1;
  std::array<WCHAR, kPrefixLength + MAX_PATH> full{};
  if (path.size() > MAX_PATH) {
    SetLastError(ERROR_FILENAME_EXCED_RANGE);
    return nullptr;
  }
  std::copy_n(kPrefix, kPrefixLength, full.begin());
  std::ranges::copy(path, full.begin() + kPrefixLength);
  return OpenBeneath(nullptr, std::span(full).first(kPrefixLength + path.size()), access, FILE_OPEN, options);
}

}  // namespace r5lqz
