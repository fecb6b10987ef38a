#include "dialogs/page_names.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace r5lqz {

bool IsLabelNameUsed(const PrinterLabel* labels, int count, const char* name) {
  return std::any_of(labels, labels + std::max(count, 0),
                     [name](const PrinterLabel& label) { return _stricmp(label.name, name) == 0; });
}

CopyNameText FindCopyName(const PrinterLabel* labels, int count, const char* name) {
  CopyNameText copy{};
  // Among count + 1 different names there is one that none of them has.
  for (int number = 1; number <= count + 1; ++number) {
    std::snprintf(copy.data(), copy.size(), "%s (Copy %d)", name, number);
    if (!IsLabelNameUsed(labels, count, copy.data())) break;
  }
  return copy;
}

}  // namespace r5lqz
