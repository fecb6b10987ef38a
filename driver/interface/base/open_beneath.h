// Files and folders opened with what only the system's own call can do: beneath an opened folder, and without waiting.
#pragma once

#include <windows.h>

#include <span>

#include "base/owned.h"

namespace r5lqz {

// Opens, or makes with FILE_CREATE as the `disposition`, what has the name in an opened folder, so that no link among
// the folders is followed; `options` are those of NtCreateFile, the `descriptor` is what a new one gets. An empty name
// is the folder itself once more. Where somebody else's opportunistic lock would have to be broken first, which its
// owner may put off for good, this ends at once with ERROR_ACCESS_DENIED or ERROR_SHARING_VIOLATION. What is opened for
// more than its attributes or its access list, and the folders on its path, cannot be renamed or deleted meanwhile.
// With DELETE in `access` nobody else may have it open for more than its attributes: renaming and deleting wait for
// locks too, and who has it open could hold one. A pipe's other end, should there be one, can identify the caller and
// no more. The handle is not inheritable. None, with the last error, when it cannot be opened.
OwnedHandle OpenBeneath(HANDLE folder, std::span<const WCHAR> name, ACCESS_MASK access, ULONG disposition,
                        ULONG options, PSECURITY_DESCRIPTOR descriptor = nullptr);

// The same for what is there under a full path that begins with a drive.
OwnedHandle OpenFullPath(std::span<const WCHAR> path, ACCESS_MASK access, ULONG options);

}  // namespace r5lqz
