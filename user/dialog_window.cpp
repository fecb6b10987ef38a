#include "user/dialog_window.h"

#include <commdlg.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "user/sheet_window.h"

namespace user {
namespace {

struct Search {
  int landmark;
  HWND found;
};

BOOL CALLBACK TakeDialog(HWND window, LPARAM param) {
  auto& search = *reinterpret_cast<Search*>(param);
  if (IsWindowVisible(window) && GetDlgItem(window, search.landmark)) search.found = window;
  return !search.found;
}

// What the functions below, which take no data of ours, answer and note. A module calls them on the thread of its
// dialog, in the middle of a message that somebody sent it and waits for.
std::wstring chosen;
std::vector<std::wstring> messages;

int WINAPI NoteMessage(HWND, LPCWSTR text, LPCWSTR title, UINT) {
  messages.push_back(std::wstring(title ? title : L"") + L": " + (text ? text : L""));
  return IDOK;
}

BOOL WINAPI ChoosePath(LPOPENFILENAMEW request) {
  if (chosen.empty() || chosen.size() >= request->nMaxFile) return FALSE;
  std::copy_n(chosen.c_str(), chosen.size() + 1, request->lpstrFile);
  return TRUE;
}

}  // namespace

HWND OpenDialog(HWND page, int button, int landmark) {
  const HWND opener = GetDlgItem(page, button);
  if (!opener || !IsWindowEnabled(opener)) return nullptr;
  // Not sent: it returns when the dialog is closed.
  PostMessageW(opener, BM_CLICK, 0, 0);
  Search search{landmark, nullptr};
  WaitUntil([&] {
    EnumThreadWindows(GetWindowThreadProcessId(page, nullptr), TakeDialog, reinterpret_cast<LPARAM>(&search));
    return search.found != nullptr;
  });
  return search.found;
}

void Type(HWND dialog, int field, const std::wstring& text) {
  const HWND edit = GetDlgItem(dialog, field);
  Send(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(edit), TRUE);
  Send(edit, EM_SETSEL, 0, -1);
  Send(edit, WM_CLEAR);
  for (const wchar_t character : text) Send(edit, WM_CHAR, character, 1);
}

std::vector<std::wstring> ListEntries(HWND dialog, int list) {
  const HWND box = GetDlgItem(dialog, list);
  std::vector<std::wstring> entries(static_cast<std::size_t>(Send(box, LB_GETCOUNT)));
  for (std::size_t index = 0; index < entries.size(); ++index) {
    std::wstring text(static_cast<std::size_t>(Send(box, LB_GETTEXTLEN, index)) + 1, L'\0');
    Send(box, LB_GETTEXT, index, reinterpret_cast<LPARAM>(text.data()));
    entries[index] = text.c_str();
  }
  return entries;
}

int ChosenEntry(HWND dialog, int list) {
  return static_cast<int>(Send(GetDlgItem(dialog, list), LB_GETCURSEL));
}

bool ChooseListed(HWND dialog, int list, const std::wstring& entry) {
  const auto entries = ListEntries(dialog, list);
  const auto found = std::find(entries.begin(), entries.end(), entry);
  if (found == entries.end()) return false;
  const HWND box = GetDlgItem(dialog, list);
  Send(box, LB_SETCURSEL, static_cast<WPARAM>(found - entries.begin()));
  // A list tells its owner only of a user's choice.
  Send(dialog, WM_COMMAND, MAKEWPARAM(list, LBN_SELCHANGE), reinterpret_cast<LPARAM>(box));
  return true;
}

void CloseDialog(HWND dialog, int button) {
  const HWND owner = GetWindow(dialog, GW_OWNER);
  PostMessageW(GetDlgItem(dialog, button), BM_CLICK, 0, 0);
  if (!WaitUntil([&] { return !IsWindow(dialog); })) {
    printf("   FAILED: the dialog stays open\n");
    ExitProcess(1);
  }
  // What its opener does after it is through when the thread answers.
  Send(owner, WM_NULL);
}

DialogAnswers::DialogAnswers(HMODULE module, std::wstring chosen_path) {
  chosen = std::move(chosen_path);
  messages.clear();
  const auto replace = [&](const char* dll, const char* function, auto* replacement) {
    patches_.push_back(platform::ReplaceImport(module, dll, function, reinterpret_cast<const void*>(replacement)));
  };
  replace("user32.dll", "MessageBoxW", &NoteMessage);
  replace("comdlg32.dll", "GetOpenFileNameW", &ChoosePath);
  replace("comdlg32.dll", "GetSaveFileNameW", &ChoosePath);
}

DialogAnswers::~DialogAnswers() {
  while (!patches_.empty()) patches_.pop_back();
}

bool DialogAnswers::AreInPlace() const {
  return std::all_of(patches_.begin(), patches_.end(), [](const auto& patch) { return static_cast<bool>(patch); });
}

std::vector<std::wstring> DialogAnswers::TakeMessages() {
  return std::exchange(messages, {});
}

}  // namespace user
