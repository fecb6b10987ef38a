// What an operation of a window that is running has to know after a call that lets messages through: a message box, a
// file dialog, a dialog of its own. The host may have destroyed the window meanwhile, or sent it another command.
#pragma once

#include <windows.h>

namespace r5lqz {

// An operation while it runs, on the stack of the thread that the windows belong to. `innermost` is the head of the
// list of those that run inside one another and outlives them all.
class RunningOperation {
 public:
  // `is_ended`, if given, outlives the operation: set once the window's sheet has ended, windows or not.
  RunningOperation(RunningOperation*& innermost, HWND window, const bool* is_ended = nullptr)
      : innermost_(innermost), below_(innermost), window_(window), is_ended_(is_ended) {
    innermost_ = this;
  }
  ~RunningOperation() { innermost_ = below_; }
  RunningOperation(const RunningOperation&) = delete;
  RunningOperation& operator=(const RunningOperation&) = delete;

  // Whether the window was destroyed while the operation ran, or its sheet has ended: nothing may be shown or changed
  // any more. The window's handle does not tell, as it may be another window's by now.
  bool IsWindowGone() const { return is_window_gone_ || (is_ended_ && *is_ended_); }

  // Whether it came while another operation waits: what opens a window of its own is refused then, so that neither the
  // stack grows with every message nor two dialogs change the same data.
  bool IsNested() const { return below_ != nullptr; }

  // To be called when `window` is destroyed.
  static void WindowIsGone(RunningOperation* innermost, HWND window) {
    for (; innermost; innermost = innermost->below_) {
      if (innermost->window_ == window) innermost->is_window_gone_ = true;
    }
  }

 private:
  RunningOperation*& innermost_;
  RunningOperation* below_;
  HWND window_;
  const bool* is_ended_;
  bool is_window_gone_ = false;
};

}  // namespace r5lqz
