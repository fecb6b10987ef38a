// A shown property sheet, worked by messages as a user works it by hand, from another thread than the sheet's own. Each
// wait has an end: what does not come in ten seconds does not come.
#pragma once

#include <windows.h>

#include <string>

namespace user {

inline constexpr DWORD kPatience = 10000;  // milliseconds

/// False when the condition does not come to hold.
template <class Condition>
bool WaitUntil(Condition holds) {
  const ULONGLONG end = GetTickCount64() + kPatience;
  while (!holds()) {
    if (GetTickCount64() > end) return false;
    Sleep(1);
  }
  return true;
}

/// Sends a message; 0 also from a thread that does not answer.
LRESULT Send(HWND window, UINT message, WPARAM first = 0, LPARAM second = 0);

/// The property sheet that the thread shows at the moment, or none.
HWND FindSheet(DWORD thread);

/// False when the sheet does not become visible.
bool WaitUntilShown(HWND sheet);

int TabCount(HWND sheet);
std::wstring TabTitle(HWND sheet, int tab);

/// Makes a tab the current one. The result is its page; none when the sheet refused.
HWND SelectTab(HWND sheet, int tab);

/// The same for the first tab that has the control; none when none has.
HWND SelectTabWith(HWND sheet, int control);

/// Chooses an entry of a drop-down list; false: it has none of this text.
void ChooseEntry(HWND page, int control, int entry);
bool ChooseEntry(HWND page, int control, const std::wstring& entry);

void Click(HWND page, int control);

/// What a window reads: its title, a list's chosen entry, any other control's text.
std::wstring TextOf(HWND window);

/// False when something is still to be painted.
bool WaitUntilPainted(HWND sheet);

/// Presses OK or the like (PSBTN_OK ...), which closes the sheet. Nobody is there to close one that stays open: the
/// process then says so and ends with 1.
void CloseSheet(HWND sheet, int button);

}  // namespace user
