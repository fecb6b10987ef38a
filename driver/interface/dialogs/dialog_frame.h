// What a modal dialog's procedure does whatever the dialog: it keeps the dialog's state from WM_INITDIALOG to
// WM_DESTROY, and to the end of the last command that runs then, and hands commands on to the dialog's own operations.
#pragma once

#include <windows.h>

#include <cstdlib>
#include <type_traits>

#include "base/running_operation.h"

namespace r5lqz {

template <typename State>
struct DialogOperations {
  // Sets state (all zeros) and controls up from what the dialog was opened with. False: the dialog is not to be shown.
  bool (*open)(HWND dialog, State& state, LPARAM parameter);
  // Acts on a control's notification; the result is what the dialog procedure returns. The state lives as long as
  // `self`, the window perhaps not.
  INT_PTR (*command)(HWND dialog, int control, int notification, State& state, const RunningOperation& self);
  // What the dialog ends with when it is not shown, for want of memory too.
  INT_PTR not_shown;
};

// The block that the window's user data names; the state comes first in it.
template <typename State>
struct DialogFrame {
  State state;
  RunningOperation* running;
  bool is_window_gone;
};

template <typename State>
void OpenDialog(const DialogOperations<State>& operations, HWND dialog, LPARAM parameter) {
  static_assert(std::is_trivial_v<State>, "zeros make a state, and freeing its block ends it");
  auto* const frame = static_cast<DialogFrame<State>*>(std::calloc(1, sizeof(DialogFrame<State>)));
  const bool shown = frame && operations.open(dialog, frame->state, parameter);
  // Only now: what the controls notify while they are set up is nobody's command.
  SetWindowLongPtrW(dialog, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(frame));
  if (!shown) EndDialog(dialog, operations.not_shown);
}

template <typename State>
void FreeFrameUnlessUsed(DialogFrame<State>* frame) {
  if (frame->is_window_gone && !frame->running) std::free(frame);
}

// What tells a dialog whose state has such a member that its sheet has ended.
template <typename State>
const bool* IsEndedOf(const State& state) {
  if constexpr (requires { state.is_ended; }) {
    return state.is_ended;
  } else {
    return nullptr;
  }
}

template <typename State>
INT_PTR RunCommand(const DialogOperations<State>& operations, HWND dialog, WPARAM w_param, DialogFrame<State>* frame) {
  INT_PTR result = FALSE;
  {
    const RunningOperation self(frame->running, dialog, IsEndedOf(frame->state));
    result = operations.command(dialog, LOWORD(w_param), HIWORD(w_param), frame->state, self);
  }
  FreeFrameUnlessUsed(frame);
  return result;
}

// The dialog procedure: its result for any message.
template <typename State>
INT_PTR RouteDialog(const DialogOperations<State>& operations, HWND dialog, UINT message, WPARAM w_param,
                    LPARAM l_param) {
  auto* const frame = reinterpret_cast<DialogFrame<State>*>(GetWindowLongPtrW(dialog, GWLP_USERDATA));
  switch (message) {
    case WM_INITDIALOG:
      // A second one is not the system's.
      if (!frame) OpenDialog(operations, dialog, l_param);
      return TRUE;
    case WM_COMMAND:
      return frame ? RunCommand(operations, dialog, w_param, frame) : FALSE;
    case WM_DESTROY:
      SetWindowLongPtrW(dialog, GWLP_USERDATA, 0);
      if (!frame) return FALSE;
      RunningOperation::WindowIsGone(frame->running, dialog);
      frame->is_window_gone = true;
      FreeFrameUnlessUsed(frame);
      return FALSE;
    default:
      return FALSE;
  }
}

}  // namespace r5lqz
