// Files and folders put in place at installation and taken away at removal. What is in use then goes at the next
// restart.
#pragma once

#include <windows.h>

#include "diag/result_codes.h"

namespace r5lqz {

// Deletes a folder with all that it holds; a link to another folder is removed, not followed. kPathNotBuilt for what
// lies too deep, or the platform's error with which the folder could not be listed.
ResultCode DeleteDirectoryTree(const WCHAR* folder);

// Whether a folder, or a file, is a link to somewhere else. What is not there is none.
bool IsLink(const WCHAR* path);

// Copies a file to where there is none, with the folders that lead there. kSourceMissing, kTargetExists or the
// platform's error; the code is the thread's last error too.
ResultCode CopyNewFile(const WCHAR* source, const WCHAR* target);

// Creates a folder and those that lead there. The platform's error when the folder itself could not be created.
ResultCode CreateDirectoryTree(const WCHAR* folder);

// Deletes a file, or has it deleted at the next restart.
void DeleteFileNowOrLater(const WCHAR* file);

// Has a file, or a folder that is empty by then, deleted at the next restart.
void DeleteLater(const WCHAR* path);

}  // namespace r5lqz
