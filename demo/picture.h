// Pictures of windows.
#pragma once

#include <windows.h>

#include <string>

namespace demo {

/// Saves what a window of this process shows, without its frame (which may be the window manager's to draw), as a PNG
/// file in place of one of that name. False when that fails.
bool SavePicture(HWND window, const std::wstring& path);

}  // namespace demo
