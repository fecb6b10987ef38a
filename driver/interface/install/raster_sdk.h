// The Raster SDK files: part of the driver's installed files under the model's names, used under their own names from a
// folder of the machine's common application data.
#pragma once

#include <windows.h>

#include "base/result_codes.h"

namespace r5lqz {

// Copies the files that are not there yet, up to the first that cannot be copied; that one's code (kTargetExists on a
// machine that has them already), kNoDriverDirectory, or why a path could not be built.
ResultCode VDRV_CopyRasterSdkFiles();

// Deletes the files, and has their folders deleted at the next restart. Why a path could not be built, else
// ERROR_SUCCESS.
ResultCode DeleteRasterSdkFiles();

// The files' folder, which need not exist: a new runtime-heap path of MAX_PATH characters that the caller frees; or
// none, with the thread's last error saying why.
WCHAR* GetRasterSdkFolder();

}  // namespace r5lqz
