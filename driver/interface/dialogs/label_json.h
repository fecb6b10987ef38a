// Label lists as the JSON text of label files.
#pragma once

#include <memory>
#include <span>

#include "base/owned.h"
#include "labels/printer_label.h"

namespace r5lqz {

// The text of a label list, terminated; none without memory.
RuntimeBlock<char> WriteLabelJson(std::span<const PrinterLabel> labels);

// Fills `labels` from the start with the pages that `text` (terminated) lists, as many as there is room for, and gives
// their number. A text that is no label list gives 0 and leaves `labels` alone; a member of a page that is missing or
// invalid becomes its default.
int ReadLabelJson(const char* text, std::span<PrinterLabel> labels);

}  // namespace r5lqz
