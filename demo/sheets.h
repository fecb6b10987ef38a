// The driver's two property sheets, each shown as one modal window by a common property sheet.
#pragma once

#include "common_sheet.h"
#include "settings.h"

namespace demo {

/// Works a shown sheet from a thread of its own and gets it closed; none: a user does.
using SheetWork = std::function<void(HWND sheet)>;

/// The printing-preferences sheet with the settings `before`; `after` is what the sheet makes of them, if anything.
platform::SheetOutcome ShowPreferences(Session& session, Record& before, Record& after, const SheetWork& work);

/// The printer-properties sheet.
platform::SheetOutcome ShowProperties(Session& session, const SheetWork& work);

}  // namespace demo
