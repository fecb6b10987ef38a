// Folders that are held while something is done in them, so that what was found out about them stays true: as long as a
// folder is held, neither it nor one that leads to it can be renamed, removed or replaced. What lies in one is opened,
// checked and deleted through one handle.
#pragma once

#include <windows.h>

#include "base/owned.h"
#include "base/plain_file.h"
#include "base/result_codes.h"

namespace r5lqz {

struct HeldFolder {
  OwnedHandle handle;
  FinalPath place{};
};

enum class Trust {
  kItsPlace,  // that it is a folder where its path says
  kItsOwner,  // that it also belongs to the system, its administrators or the identity that the thread runs under
};

// Holds a folder of the system's, which may lie behind a link: who may lead it elsewhere may do anything.
// ERROR_PATH_NOT_FOUND when it is missing, or the platform's error.
ResultCode HoldSystemFolder(const WCHAR* path, HeldFolder& folder);

// Holds a folder that lies in a held one, and is named by the last component of `path`. ERROR_ACCESS_DENIED when it is
// a link, lies elsewhere or lacks the trust asked for; failures as above.
ResultCode HoldFolder(const HeldFolder& parent, const WCHAR* path, Trust trust, HeldFolder& folder);

// Creates a folder, named by the last component of `path`, in a held one: the system and its administrators may change
// it, every user may read it. The platform's error; ERROR_ACCESS_DENIED, with nothing left, where it came to lie
// elsewhere.
ResultCode CreateProtectedFolder(const HeldFolder& parent, const WCHAR* path);

// Gives a held folder, which somebody may have made with another one, the access list that CreateProtectedFolder gives;
// what lies in it keeps its own. The platform's error.
ResultCode ProtectFolder(const HeldFolder& folder);

// Whether what was opened, with READ_CONTROL, belongs to whom Trust::kItsOwner trusts: ERROR_ACCESS_DENIED when not, or
// the platform's error.
ResultCode CheckOwner(HANDLE opened);

// Opens what has the name that `path` ends with in a held folder, to read, write or delete it, itself and not what it
// leads to; with CREATE_NEW makes it. None, with the last error ERROR_ACCESS_DENIED, when it is not in that folder;
// nothing that was made is left there. Further as OpenBeneath.
OwnedHandle OpenIn(const HeldFolder& folder, const WCHAR* path, DWORD access, DWORD disposition = OPEN_EXISTING);

// Deletes what has that name in a held folder, or has it deleted at the next restart. What is missing, or not in that
// folder, is left alone.
void DeleteNowOrLater(const HeldFolder& folder, const WCHAR* path);

// Has a file, or a folder that is empty by then, deleted at the next restart.
void DeleteLater(const WCHAR* path);

}  // namespace r5lqz
