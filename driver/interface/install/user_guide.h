// The start-menu shortcut to the printer's online user guide.
#pragma once

#include "base/result_codes.h"
#include "base/ui_language.h"

namespace r5lqz {

// Puts the shortcut, named in `language`, into the product's folder in the start menu of all users; one that is there
// already is written anew. kNoMemoryForPath, kPathNotBuilt or the platform's error.
ResultCode CreateUserGuideShortcut(const UiLanguage& language);

// Deletes the product's start-menu folder with all that it holds. Only a path that could not be built is a failure.
ResultCode DeleteStartMenuFolder();

}  // namespace r5lqz
