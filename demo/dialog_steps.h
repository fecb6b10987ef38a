// The page dialogs, worked step by step, with what each must show then.
#pragma once

#include <span>
#include <vector>

#include "user/dialog_window.h"
#include "session.h"

namespace demo {

/// The same fields in each of the dialogs; the custom page has no name.
struct DialogFields {
  int name;
  int width;
  int length;
  int inches;
  int offsets[2];
  int readouts[2];
};

struct Typed {
  int field;
  const wchar_t* text;
};

/// What a user does, and what the dialog must show then.
struct DialogStep {
  const wchar_t* chosen;  // in the list of pages; none: nothing is
  std::vector<Typed> typed;
  int button;  // pressed at last; 0: none
  std::size_t pages;
  const char* fields;
  UINT message;  // of the module's texts, in the box that comes; 0: none comes
};

/// What a control reads; and without its line breaks.
std::string ControlText(HWND dialog, int control);
std::string OneLine(std::string text);

/// The names of the printer's stocks, in alphabetical order.
std::vector<std::string> StoredNames(Session& session);

struct DialogWork {
  Session& session;
  DialogAnswers& answers;
  const DialogFields& fields;
  std::span<const DialogStep> steps;
};

/// Opens the dialog by a button of the page, takes the steps, closes it by its default button. A table of what the
/// dialog showed is printed; what it should not have shown is reported.
void WorkDialog(const DialogWork& work, HWND page, int opener);

}  // namespace demo
