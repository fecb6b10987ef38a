// Paths of the platform's usual greatest length, built piece by piece.
#pragma once

#include <windows.h>

#include "base/owned.h"
#include "base/result_codes.h"

namespace r5lqz {

// A path in a runtime-heap block of MAX_PATH characters.
using OwnedPath = RuntimeBlock<WCHAR>;

// An empty path; none without memory.
OwnedPath NewPath();

// A copy of a path; kPathNotBuilt when it is too long, kNoMemoryForPath. `copy` is none then.
ResultCode CopyPath(const WCHAR* path, OwnedPath& copy);

// Appends `more` to a path in a block of MAX_PATH characters; kPathNotBuilt, with the path unusable, when it does not
// fit. Not for names that are found in a folder: a name that begins with two dots leads to the folder above here.
ResultCode AppendPath(WCHAR* path, const WCHAR* more);

// The path of `name` in `folder`, both taken as they are; failures as CopyPath's.
ResultCode JoinPath(const WCHAR* folder, const WCHAR* name, OwnedPath& path);

// One of the machine's special folders (a CSIDL_ constant), which is not created, with `more` (or nothing)
// appended. On failure
// `path` is none and the code says why: kNoMemoryForPath, the platform's error or kPathNotBuilt.
ResultCode SpecialFolderPath(int folder, const WCHAR* more, OwnedPath& path);

// Whether a file or folder of that path exists.
bool PathExists(const WCHAR* path);

}  // namespace r5lqz
