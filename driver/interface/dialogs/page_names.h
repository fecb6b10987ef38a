// The names of a printer's pages: unique without regard to letter case.
#pragma once

#include <array>
#include <span>

#include "labels/printer_label.h"

namespace r5lqz {

// Whether one of the first `count` labels has the name.
bool IsLabelNameUsed(const PrinterLabel* labels, int count, const char* name);

// Room for a copy name: that of the longest name, and a number.
using CopyNameText = std::array<char, kLabelNameSize + 24>;

// The first of "NAME (Copy 1)", "NAME (Copy 2)" ... that none of the labels has. It may be too long for a label.
CopyNameText FindCopyName(const PrinterLabel* labels, int count, const char* name);

}  // namespace r5lqz
