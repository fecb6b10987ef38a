// The driver's two property sheets, each shown as one modal window by a common property sheet.
#pragma once

#include "user/printer_calls.h"
#include "settings.h"

namespace demo {

/// The printing preferences by the road of every application, DocumentPropertiesW with a prompt. This platform's common
/// property sheet answers alike to OK and Cancel, so `after` starts as `before`: an application then sees by it what
/// became of the settings. False, and reported, when no sheet came.
bool AskPlatformWithPrompt(Session& session, Record& before, Record& after, const SheetWork& work);

}  // namespace demo
