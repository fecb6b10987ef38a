// The names of the label keys as the spooler lists them.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>

#include "base/owned.h"
#include "base/result_codes.h"

namespace r5lqz {

// "Label Sizes\%d", narrow for the values, wide for the key itself. A 16-bit number fits.
std::array<char, 24> LabelKeyName(SHORT id);
std::array<WCHAR, 24> WideLabelKeyName(SHORT id);

// The label numbers that the spooler lists, as it lists them. Empty after a failure.
class LabelKeyList {
 public:
  // Asks the spooler for the subkeys of "Label Sizes". ERROR_SUCCESS when there is no such key; otherwise the code that
  // it answered, traced here.
  ResultCode Read(HANDLE printer);

  // Moves on to the next name and gives the number it reads as (0 when it is none); false at the end of the list.
  bool Next(SHORT* id);

 private:
  RuntimeBlock<WCHAR> names_;
  const WCHAR* at_ = nullptr;
};

}  // namespace r5lqz
