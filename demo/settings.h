// Settings records as the platform gives them, and what became of them.
#pragma once

#include <windows.h>

#include <optional>

#include "session.h"
#include "settings/driver_devmode.h"

namespace demo {

/// Room for the largest record in use here, which each of them starts; shorter ones leave the rest zero.
using Record = r5lqz::DriverDevMode;

/// What DocumentPropertiesW, without a window, makes of a record, or the printer's defaults when none is given. A
/// failure is reported, naming `what` was asked.
std::optional<Record> AskPlatform(Session& session, const char* what, Record* asked);

/// Only what matters: what was asked apart from the defaults, and what came back otherwise than asked.
void ShowAskedAndBack(const Report& report, const Record& defaults, const Record& asked, const Record& back);

/// The settings that differ, or that none does.
void ShowChanges(const Report& report, const Record& before, const Record& after);

/// Whether every setting of one record is that of the other.
bool SameSettings(const Record& one, const Record& other);

}  // namespace demo
