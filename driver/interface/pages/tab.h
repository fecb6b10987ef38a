// What every tab of both sheets does alike: reach its sheet's context, answer notifications, apply and reset.
#pragma once

#include <windows.h>

#include <prsht.h>

#include "entry/shared/properties_context.h"

namespace r5lqz {

// What a tab does at each message that reaches it; an operation that it does not have is none.
struct TabOperations {
  using Operation = void (*)(HWND dialog, PropertiesContext& context);

  Operation initialize;                                                             // WM_INITDIALOG
  Operation set_active = nullptr;                                                   // the tab becomes the current one
  Operation kill_active = nullptr;                                                  // the user leaves it
  Operation apply = nullptr;                                                        // OK or Apply
  Operation reset = nullptr;                                                        // Cancel
  const WCHAR* help_topic = nullptr;                                                // what Help shows
  bool takes_commands = false;                                                      // WM_COMMAND is the tab's, ...
  void (*command)(HWND dialog, int control, PropertiesContext& context) = nullptr;  // ... with this action
  void (*destroy)(HWND dialog) = nullptr;
};

// The dialog procedure of every tab. It keeps the sheet's context, which the page was created with, in the dialog's
// user data; before WM_INITDIALOG there is none and nothing is done.
INT_PTR RouteTab(const TabOperations& tab, HWND dialog, UINT message, WPARAM w_param, LPARAM l_param);

// Whether the tab whose operation runs innermost, or the sheet that it belongs to, is gone: to be asked behind every
// call that lets messages through. The context is still there then, but nothing may be shown or handed over.
bool IsTabGone(const PropertiesContext& context);

// Whether that operation came while another one of the sheet's tabs waits for a box or a dialog.
bool IsNestedOperation(const PropertiesContext& context);

// Answers a notification: PSNRET_NOERROR or one of its kin.
void AnswerNotification(HWND dialog, LONG answer);

// Copies the working record into the caller's output, where there is one and the user may change it.
void CopyToOutput(const PropertiesContext& context);

// The end of every document tab's apply: the output, and the result for the common property sheet.
void FinishApply(HWND dialog, const PropertiesContext& context);

// What every tab does when the sheet is cancelled; the working record stays as it is.
void FinishReset(HWND dialog, const PropertiesContext& context);

// The dialog procedures of the tabs.
INT_PTR CALLBACK AboutDlgProc(HWND dialog, UINT message, WPARAM w_param, LPARAM l_param);
INT_PTR CALLBACK ColorDlgProc(HWND dialog, UINT message, WPARAM w_param, LPARAM l_param);
INT_PTR CALLBACK DeviceDlgProc(HWND dialog, UINT message, WPARAM w_param, LPARAM l_param);
INT_PTR CALLBACK LayoutDlgProc(HWND dialog, UINT message, WPARAM w_param, LPARAM l_param);
INT_PTR CALLBACK PageDlgProc(HWND dialog, UINT message, WPARAM w_param, LPARAM l_param);

}  // namespace r5lqz
