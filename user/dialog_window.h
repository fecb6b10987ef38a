// A dialog over a shown property sheet, worked by messages as a user works it by hand, from another thread than its
// own; and what the user answers to the windows of the platform that the module opens meanwhile.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "import_patch.h"

namespace user {

/// Presses a page's button and waits for the dialog that it opens, which is known by one of its controls. None: no such
/// dialog comes.
HWND OpenDialog(HWND page, int button, int landmark);

/// Goes to a field and types over it, character by character.
void Type(HWND dialog, int field, const std::wstring& text);

/// The entries of a list box; the chosen one's index, or -1.
std::vector<std::wstring> ListEntries(HWND dialog, int list);
int ChosenEntry(HWND dialog, int list);
/// Clicks on an entry of a list box, which its owner is told; false: there is no such entry.
bool ChooseListed(HWND dialog, int list, const std::wstring& entry);

/// Presses a button that closes the dialog. Nobody is there to close one that stays open: the process then says so and
/// ends with 1.
void CloseDialog(HWND dialog, int button);

/// As long as it lives a loaded module's message boxes are noted and closed by OK, and its file dialogs are answered
/// with one path: its imports point here instead of at the platform, whose own windows nobody would see. One at a time.
class DialogAnswers {
 public:
  DialogAnswers(HMODULE module, std::wstring chosen_path);
  DialogAnswers(const DialogAnswers&) = delete;
  DialogAnswers& operator=(const DialogAnswers&) = delete;
  ~DialogAnswers();

  /// False: the module could not be pointed here.
  bool AreInPlace() const;
  /// "TITLE: TEXT" of each message box since the last call.
  std::vector<std::wstring> TakeMessages();

 private:
  std::vector<platform::ImportPatch> patches_;
};

}  // namespace user
