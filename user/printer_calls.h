// What this platform's spooler never asks an installed printer's driver, asked as a spooler would.
#pragma once

#include <functional>

#include "common_sheet.h"
#include "settings/driver_devmode.h"
#include "spooler_setup.h"

namespace user {

/// Works a shown sheet from a thread of its own and gets it closed; none: a user does.
using SheetWork = std::function<void(HWND sheet)>;

/// The printing-preferences sheet with the settings `before`; `after` is what the sheet makes of them, if anything.
platform::SheetOutcome ShowPreferences(platform::InstalledPrinter& installed, r5lqz::DriverDevMode& before,
                                       r5lqz::DriverDevMode& after, const SheetWork& work);

/// The printer-properties sheet; the option that its Device tab changes, or -1 without one.
platform::SheetOutcome ShowProperties(platform::InstalledPrinter& installed, const SheetWork& work);
int ReadBufferOption(HANDLE printer);

/// The start of a document; false when the driver does not take it.
bool StartDocument(platform::InstalledPrinter& installed);

/// Whether the driver knows the paper of a job's settings.
bool AcceptsPaper(platform::InstalledPrinter& installed, DEVMODEW& settings);

}  // namespace user
