// Files and folders put in place at installation and taken away at removal, each in a folder that is held meanwhile
// (install/held_folder.h). What is in use then goes at the next restart.
#pragma once

#include <windows.h>

#include "base/result_codes.h"
#include "install/held_folder.h"

namespace r5lqz {

// Holds a folder whose last `own_levels` components are the driver's, for nobody but the driver makes or trusts them;
// what lies above is the system's. kNoMemoryForPath, kPathNotBuilt, or as HoldFolder.
ResultCode HoldDirectoryTree(const WCHAR* folder, int own_levels, Trust trust, HeldFolder& held);

// The same with trust in the owners, for a folder that may be missing: creates, protected, what of its own levels is
// not there, and protects the folder itself in any case. What could not be created is reported as missing.
ResultCode CreateDirectoryTree(const WCHAR* folder, int own_levels, HeldFolder& held);

// Copies a file to where there is none, into a folder as above, which is created when it is missing. kSourceMissing,
// kTargetExists or the platform's error, ERROR_ACCESS_DENIED for a folder, or a file in the target's place, that is not
// to be trusted; the code is the thread's last error too.
ResultCode CopyNewFile(const WCHAR* source, const WCHAR* target, int own_levels);

// Deletes a folder that lies in a held one, with all that it holds; a link to another folder is removed, not followed.
// kPathNotBuilt for what lies too deep, or the platform's error with which the folder could not be listed.
ResultCode DeleteDirectoryTree(const HeldFolder& parent, const WCHAR* folder);

}  // namespace r5lqz
