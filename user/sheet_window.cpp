#include "user/sheet_window.h"

#include <commctrl.h>
#include <prsht.h>

#include <array>
#include <cstdio>

namespace user {
namespace {

constexpr std::size_t kTextSize = 512;

HWND Tabs(HWND sheet) {
  return reinterpret_cast<HWND>(Send(sheet, PSM_GETTABCONTROL));
}

BOOL CALLBACK TakeSheet(HWND window, LPARAM found) {
  const bool is_sheet = IsWindowVisible(window) && FindWindowExW(window, nullptr, WC_TABCONTROLW, nullptr);
  if (is_sheet) *reinterpret_cast<HWND*>(found) = window;
  return !is_sheet;
}

BOOL CALLBACK NotePaint(HWND window, LPARAM pending) {
  const bool waits = IsWindowVisible(window) && GetUpdateRect(window, nullptr, FALSE);
  if (waits) *reinterpret_cast<bool*>(pending) = true;
  return !waits;
}

bool HasToPaint(HWND sheet) {
  bool pending = false;
  if (NotePaint(sheet, reinterpret_cast<LPARAM>(&pending))) {
    EnumChildWindows(sheet, NotePaint, reinterpret_cast<LPARAM>(&pending));
  }
  return pending;
}

}  // namespace

LRESULT Send(HWND window, UINT message, WPARAM first, LPARAM second) {
  DWORD_PTR result = 0;
  SendMessageTimeoutW(window, message, first, second, SMTO_NORMAL, kPatience, &result);
  return static_cast<LRESULT>(result);
}

HWND FindSheet(DWORD thread) {
  HWND sheet = nullptr;
  EnumThreadWindows(thread, TakeSheet, reinterpret_cast<LPARAM>(&sheet));
  return sheet;
}

bool WaitUntilShown(HWND sheet) {
  return WaitUntil([&] { return IsWindowVisible(sheet) && Send(sheet, PSM_GETCURRENTPAGEHWND); });
}

int TabCount(HWND sheet) {
  return static_cast<int>(Send(Tabs(sheet), TCM_GETITEMCOUNT));
}

std::wstring TabTitle(HWND sheet, int tab) {
  std::array<wchar_t, kTextSize> title{};
  TCITEMW item{};
  item.mask = TCIF_TEXT;
  item.pszText = title.data();
  item.cchTextMax = static_cast<int>(title.size());
  Send(Tabs(sheet), TCM_GETITEMW, static_cast<WPARAM>(tab), reinterpret_cast<LPARAM>(&item));
  return title.data();
}

HWND SelectTab(HWND sheet, int tab) {
  Send(sheet, PSM_SETCURSEL, static_cast<WPARAM>(tab));
  if (Send(Tabs(sheet), TCM_GETCURSEL) != tab) return nullptr;
  return reinterpret_cast<HWND>(Send(sheet, PSM_GETCURRENTPAGEHWND));
}

HWND SelectTabWith(HWND sheet, int control) {
  for (int tab = 0; tab < TabCount(sheet); ++tab) {
    const HWND page = SelectTab(sheet, tab);
    if (page && GetDlgItem(page, control)) return page;
  }
  return nullptr;
}

void ChooseEntry(HWND page, int control, int entry) {
  const HWND list = GetDlgItem(page, control);
  Send(list, CB_SETCURSEL, static_cast<WPARAM>(entry));
  // A list tells its owner only of a user's choice.
  Send(page, WM_COMMAND, MAKEWPARAM(control, CBN_SELCHANGE), reinterpret_cast<LPARAM>(list));
}

bool ChooseEntry(HWND page, int control, const std::wstring& entry) {
  const LRESULT found = Send(GetDlgItem(page, control), CB_FINDSTRINGEXACT, static_cast<WPARAM>(-1),
                             reinterpret_cast<LPARAM>(entry.c_str()));
  if (found < 0) return false;
  ChooseEntry(page, control, static_cast<int>(found));
  return true;
}

void Click(HWND page, int control) {
  Send(GetDlgItem(page, control), BM_CLICK);
}

std::wstring TextOf(HWND window) {
  std::array<wchar_t, kTextSize> text{};
  Send(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
  return text.data();
}

bool WaitUntilPainted(HWND sheet) {
  if (!WaitUntil([&] { return !HasToPaint(sheet); })) return false;
  // What is being painted right now is through when the thread answers.
  Send(sheet, WM_NULL);
  return true;
}

void CloseSheet(HWND sheet, int button) {
  // Not sent: a message box in the way would never let it return.
  PostMessageW(sheet, PSM_PRESSBUTTON, static_cast<WPARAM>(button), 0);
  if (WaitUntil([&] { return !IsWindow(sheet); })) return;
  printf("   FAILED: the sheet stays open\n");
  ExitProcess(1);
}

}  // namespace user
