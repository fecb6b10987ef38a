// The spooler's printers and the handles to them, for the files that answer calls about them.
#pragma once

#include "native/state.h"

#include <map>

namespace platform {

struct Value {
  DWORD type = REG_NONE;
  Bytes bytes;
};

struct Key {
  std::u16string name;  // its own, as first written, without the path to it
  std::map<std::u16string, Value, std::less<>> values;
};

struct Printer {
  std::u16string name;
  std::u16string driver_name;
  Bytes devmode;
  bool omits_names = false;
  Denied writes = Denied::kNobody;
  Denied access = Denied::kNobody;
  std::vector<Form> forms;
  // By folded path; what lies beneath a key begins with its path and a backslash. Every parent is there.
  std::map<std::u16string, Key, std::less<>> keys;
  std::map<std::u16string, Bytes, std::less<>> key_lists;  // what SetKeyListBytes asked for, by folded path
};

// All of these want StateMutex held.

// The printer of that name; ends the program when there is none.
Printer& NamedPrinter(std::string_view name);

// The printer behind an open handle, none for any other.
Printer* OpenedPrinter(HANDLE handle);

// Whether this handle may write to its printer.
bool MayWrite(HANDLE handle);

}  // namespace platform
