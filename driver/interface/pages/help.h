// Context help.
#pragma once

#include <windows.h>

#include <array>

#include "base/ui_language.h"

namespace r5lqz {

using HelpPath = std::array<WCHAR, MAX_PATH>;

// The path of `topic` in the help file of `language`, beside the registered `help_file`; empty when it does not fit or
// the file's name has no three-letter extension to replace.
HelpPath BuildHelpPath(const WCHAR* help_file, const UiLanguage& language, const WCHAR* topic);

// Shows `topic` of the help file that `printer`'s driver has registered. Shows nothing when there is none, or when the
// platform's help component is missing.
void HelpClick(HWND dialog, HANDLE printer, const WCHAR* topic);

}  // namespace r5lqz
