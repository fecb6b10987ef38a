// What a modal dialog's procedure does whatever the dialog: it keeps the dialog's state from WM_INITDIALOG to
// WM_DESTROY and hands commands on to the dialog's own operations.
#pragma once

#include <windows.h>

#include <cstdlib>

namespace r5lqz {

template <typename State>
struct DialogOperations {
  // Sets state (all zeros) and controls up from what the dialog was opened with. False: the dialog is not to be shown.
  bool (*open)(HWND dialog, State& state, LPARAM parameter);
  // Acts on a control's notification; the result is what the dialog procedure returns.
  INT_PTR (*command)(HWND dialog, int control, int notification, State& state);
  // What the dialog ends with when it is not shown, for want of memory too.
  INT_PTR not_shown;
};

template <typename State>
void OpenDialog(const DialogOperations<State>& operations, HWND dialog, LPARAM parameter) {
  auto* const state = static_cast<State*>(std::calloc(1, sizeof(State)));
  const bool shown = state && operations.open(dialog, *state, parameter);
  // Only now: what the controls notify while they are set up is nobody's command.
  SetWindowLongPtrW(dialog, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(state));
  if (!shown) EndDialog(dialog, operations.not_shown);
}

// The dialog procedure: its result for any message.
template <typename State>
INT_PTR RouteDialog(const DialogOperations<State>& operations, HWND dialog, UINT message, WPARAM w_param,
                    LPARAM l_param) {
  auto* const state = reinterpret_cast<State*>(GetWindowLongPtrW(dialog, GWLP_USERDATA));
  switch (message) {
    case WM_INITDIALOG:
      OpenDialog(operations, dialog, l_param);
      return TRUE;
    case WM_COMMAND:
      return state ? operations.command(dialog, LOWORD(w_param), HIWORD(w_param), *state) : FALSE;
    case WM_DESTROY:
      std::free(state);
      SetWindowLongPtrW(dialog, GWLP_USERDATA, 0);
      return FALSE;
    default:
      return FALSE;
  }
}

}  // namespace r5lqz
