// What every tab of both sheets does alike: reach its sheet's context, answer notifications, apply and reset.
#pragma once

#include <windows.h>

#include <prsht.h>

#include "entry/properties_context.h"

namespace r5lqz {

// Keeps the sheet's context, which the page was created with, in the dialog's user data, and gives it.
PropertiesContext& KeepContext(HWND dialog, LPARAM page);

// The context that the dialog keeps; none before WM_INITDIALOG.
PropertiesContext* ContextOf(HWND dialog);

// Lets go of the bitmaps that the template's pictures have loaded, when the dialog is destroyed: not every platform's
// pictures do that themselves, and hosts open sheets for as long as they live.
void ReleasePictures(HWND dialog);

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
